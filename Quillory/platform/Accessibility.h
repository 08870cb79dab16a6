#pragma once

#include <functional>
#include <memory>

#include "platform/Alert.h"

namespace quillory {

// Whether this process may watch the keys of the session. Main thread only.
class Accessibility {
public:
    virtual ~Accessibility() = default;
    // Asks nobody anything.
    virtual bool isProcessTrusted() = 0;
    // With `prompt`, a process that is not trusted makes the desktop ask the user. May take up to
    // 250 ms to hear that an earlier grant still stands.
    virtual bool isProcessTrustedWithOptions(bool prompt) = 0;
    // Calls `granted` from the main loop when the permission comes, in place of an earlier function.
    virtual void whenTrusted(std::function<void()> granted) = 0;
    // An alert about the missing permission. It waits while the desktop's own question is open, and is dismissed
    // when the permission comes.
    virtual std::shared_ptr<Alert> makePermissionAlert() = 0;
};

}
