#pragma once

#include "platform/hotkey/HotkeyBackend.h"

namespace quillory {

// The X server asks nobody before it lets a client grab a key.
class X11HotkeyBackend final : public HotkeyBackend {
public:
    explicit X11HotkeyBackend(HotkeyBackendOptions options);

    bool isTrusted(bool prompt) override;
    std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) override;
    std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>& tap) override;
    bool hasShortcutSettings() override;
    void openShortcutSettings() override;

private:
    HotkeyBackendOptions m_options;
};

}
