#include "platform/hotkey/X11HotkeyBackend.h"

#include <utility>

#include "platform/hotkey/SettingsProgram.h"
#include "platform/hotkey/X11EventTap.h"

namespace quillory {

X11HotkeyBackend::X11HotkeyBackend(HotkeyBackendOptions options)
    : m_options(std::move(options))
{
}

bool X11HotkeyBackend::isTrusted(bool)
{
    return X11KeyGrab::isAvailable(m_options.displayName);
}

std::shared_ptr<EventTap> X11HotkeyBackend::makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData)
{
    if ((mask & 1ULL << EventType::keyDown) == 0)
        return nullptr;
    return X11EventTap::make(m_options.displayName, callback, userData,
                             {.willDeliver = m_options.willDeliverX11Event, .hasFocus = m_options.hasFocus});
}

std::shared_ptr<RunLoopSource> X11HotkeyBackend::makeRunLoopSource(const std::shared_ptr<EventTap>& tap)
{
    return SessionRunLoopSource::make(tap);
}

bool X11HotkeyBackend::hasShortcutSettings()
{
    return hasSettingsProgram();
}

void X11HotkeyBackend::openShortcutSettings()
{
    openSettingsProgram("", "");
}

}
