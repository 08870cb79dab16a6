#pragma once

#include <memory>

#include "platform/EventTap.h"

namespace quillory {

// One window system's way to a key chord of the whole session. The only chord it ever delivers is
// Command+Shift+E, Command being the Super key. Main thread only.
class HotkeyBackend {
public:
    virtual ~HotkeyBackend() = default;

    // Whether a tap may be made. With `prompt`, the desktop is told to ask the user, once in the life
    // of the backend; takes 250 ms at most then, and no time otherwise.
    virtual bool isTrusted(bool prompt) = 0;
    // Whether the desktop's own question to the user is open, or going to be.
    virtual bool isAsking() const { return false; }
    // False where the desktop is known to have no place to give the permission.
    virtual bool canBeTrusted() const { return true; }

    // A tap on key presses, which is its own source, see Platform. The callback must not release the tap.
    virtual std::shared_ptr<EventTap> makeEventTap(EventTapCallback callback, void* userData) = 0;

    // Whether the desktop has a panel of its own for shortcuts that is known; takes 250 ms at most.
    virtual bool hasShortcutSettings() = 0;
    // Opens it, where there is one.
    virtual void openShortcutSettings() = 0;
};

}
