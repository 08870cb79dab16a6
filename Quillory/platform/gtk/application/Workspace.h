#pragma once

#include <functional>

#include "platform/Workspace.h"
#include "platform/hotkey/HotkeyBackend.h"

namespace quillory::gtk {

class Workspace final : public quillory::Workspace {
public:
    explicit Workspace(std::function<HotkeyBackend&()> hotkeyBackend)
        : m_hotkeyBackend(std::move(hotkeyBackend))
    {
    }

    void openURL(const std::string& url) override
    {
        if (url == accessibilitySettingsURL)
            m_hotkeyBackend().openShortcutSettings();
    }

private:
    std::function<HotkeyBackend&()> m_hotkeyBackend;
};

}
