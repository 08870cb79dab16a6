#include "platform/hotkey/HotkeyBackend.h"

#include <utility>

#include "platform/hotkey/PortalHotkeyBackend.h"
#include "platform/hotkey/X11HotkeyBackend.h"

namespace quillory {

namespace {

class NoHotkeyBackend final : public HotkeyBackend {
public:
    bool isTrusted(bool) override { return false; }
    std::shared_ptr<EventTap> makeEventTap(std::uint64_t, EventTapCallback, void*) override { return nullptr; }
    std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>&) override { return nullptr; }
    bool hasShortcutSettings() override { return false; }
    void openShortcutSettings() override { }
};

}

std::unique_ptr<HotkeyBackend> makeHotkeyBackend(HotkeyBackendOptions options)
{
    switch (options.display) {
    case DisplayKind::x11:
        return std::make_unique<X11HotkeyBackend>(std::move(options));
    case DisplayKind::wayland:
        return std::make_unique<PortalHotkeyBackend>(std::move(options));
    case DisplayKind::none:
        break;
    }
    return std::make_unique<NoHotkeyBackend>();
}

}
