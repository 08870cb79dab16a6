#pragma once

#include <memory>

#include "platform/hotkey/HotkeyBackend.h"
#include "platform/hotkey/PortalSession.h"

namespace quillory {

// On Wayland the user grants the chord itself, in a dialog of the desktop.
class PortalHotkeyBackend final : public HotkeyBackend {
public:
    explicit PortalHotkeyBackend(HotkeyBackendOptions options);

    bool isTrusted(bool prompt) override;
    bool isAsking() const override { return m_session->isAsking(); }
    bool canBeTrusted() const override { return m_session->isOffered(); }
    // Null until the shortcut is bound. Making a second tap takes the presses from the first.
    std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) override;
    std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>& tap) override;
    bool hasShortcutSettings() override;
    void openShortcutSettings() override;

private:
    HotkeyBackendOptions m_options;
    std::shared_ptr<PortalSession> m_session;
};

}
