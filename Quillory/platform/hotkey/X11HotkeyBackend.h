#pragma once

#include <string>
#include <utility>

#include "platform/hotkey/HotkeyBackend.h"
#include "platform/hotkey/SettingsProgram.h"
#include "platform/hotkey/X11EventTap.h"

namespace quillory {

// The X server asks nobody before it lets a client grab a key.
class X11HotkeyBackend final : public HotkeyBackend {
public:
    X11HotkeyBackend(std::string displayName, X11EventTap::Hooks hooks)
        : m_displayName(std::move(displayName))
        , m_hooks(std::move(hooks))
    {
    }

    bool isTrusted(bool) override { return X11KeyGrab::isAvailable(m_displayName); }
    std::shared_ptr<EventTap> makeEventTap(EventTapCallback callback, void* userData) override
    {
        return X11EventTap::make(m_displayName, callback, userData, m_hooks);
    }
    bool hasShortcutSettings() override { return hasSettingsProgram(); }
    void openShortcutSettings() override { openSettingsProgram("", ""); }

private:
    std::string m_displayName;
    X11EventTap::Hooks m_hooks;
};

}
