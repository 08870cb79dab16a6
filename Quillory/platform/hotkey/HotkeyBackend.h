#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/EventTap.h"

namespace quillory {

// What keeps the keys of the session: the X server, or a Wayland compositor behind the desktop portal.
enum class DisplayKind { none, x11, wayland };

struct HotkeyBackendOptions {
    DisplayKind display = DisplayKind::none;
    // Of the X server; empty stands for $DISPLAY.
    std::string displayName;
    // The reverse-domain identifier of the application, which is its desktop file's name.
    std::string applicationID;
    // Any function may be empty.
    // Called right before a key press goes to the tap's callback, with what entitles a window to take
    // the focus because of it. A token may be empty as well: none came.
    std::function<void(std::uint32_t timestamp)> willDeliverX11Event;
    // Whether a window of the application has the focus already, which others lose because of a press.
    std::function<bool()> hasFocus;
    std::function<void(std::string activationToken)> willDeliverWaylandEvent;
    // Hands what entitles a program that is started then to take the focus to `received`, or an empty text: once a
    // window of the application has the focus, or does not get it in half a second.
    std::function<void(std::function<void(std::string activationToken)> received)> withActivationToken;
    // Hands the portal's name for the main window to `received` once that window is on the screen, or an empty text
    // if it has none.
    std::function<void(std::function<void(std::string parentWindow)> received)> withMainWindow;
    // Called on the main loop when the desktop has asked the user, or answered.
    std::function<void()> changed;
};

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

    // See Platform. The callback must not release the tap.
    virtual std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) = 0;
    virtual std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>& tap) = 0;

    // Whether the desktop has a panel of its own for shortcuts that is known; takes 250 ms at most.
    virtual bool hasShortcutSettings() = 0;
    // Opens it, where there is one.
    virtual void openShortcutSettings() = 0;
};

// Makes no connection yet. Never null: without a display, nothing is trusted and no tap is made.
std::unique_ptr<HotkeyBackend> makeHotkeyBackend(HotkeyBackendOptions options);

}
