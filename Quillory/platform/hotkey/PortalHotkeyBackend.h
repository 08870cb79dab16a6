#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/hotkey/HotkeyBackend.h"
#include "platform/hotkey/PortalSession.h"

namespace quillory {

// On Wayland the user grants the chord itself, in a dialog of the desktop.
class PortalHotkeyBackend final : public HotkeyBackend {
public:
    struct Hooks {
        // Called right before a key press goes to the tap's callback, with what entitles a window to take the focus
        // because of it, or an empty text: none came.
        std::function<void(std::string activationToken)> willDeliver;
        // Hands what entitles a program that is started then to take the focus to `received`, or an empty text: once
        // a window of the application has the focus, or does not get it in half a second.
        std::function<void(std::function<void(std::string activationToken)> received)> withActivationToken;
        PortalSession::WithWindow withMainWindow;
        // Called on the main loop when the desktop has asked the user, or answered.
        std::function<void()> changed;
    };

    // `applicationID` is the reverse-domain identifier of the application, which is its desktop file's name.
    PortalHotkeyBackend(const std::string& applicationID, Hooks hooks);

    bool isTrusted(bool prompt) override;
    bool isAsking() const override { return m_session->isAsking(); }
    bool canBeTrusted() const override { return m_session->isOffered(); }
    // Null until the shortcut is bound. Making a second tap takes the presses from the first.
    std::shared_ptr<EventTap> makeEventTap(EventTapCallback callback, void* userData) override;
    bool hasShortcutSettings() override;
    void openShortcutSettings() override;

private:
    std::string m_applicationID;
    Hooks m_hooks;
    std::shared_ptr<PortalSession> m_session;
};

}
