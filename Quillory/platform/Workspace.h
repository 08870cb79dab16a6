#pragma once

#include <string>

namespace quillory {

inline constexpr const char* accessibilitySettingsURL =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

// The desktop's own services around the application. Main thread only.
class Workspace {
public:
    virtual ~Workspace() = default;
    // Web addresses open in the default browser; `accessibilitySettingsURL` opens wherever this
    // desktop lets the user manage shortcuts and who may have them. Failure is not reported.
    virtual void openURL(const std::string& url) = 0;
};

}
