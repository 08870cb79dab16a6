#pragma once

#include <string>

namespace quillory {

inline constexpr const char* accessibilitySettingsURL =
    "x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility";

// The desktop's own services around the application. Main thread only.
class Workspace {
public:
    virtual ~Workspace() = default;
    // `accessibilitySettingsURL` opens wherever this desktop lets the user manage shortcuts and who may have
    // them; nothing else is opened. Failure is not reported.
    virtual void openURL(const std::string& url) = 0;
};

}
