#pragma once

#include <functional>

#include "platform/Accessibility.h"
#include "platform/hotkey/HotkeyBackend.h"

namespace quillory::gtk {

// Trust is whatever the window system's way to the hotkey asks for.
class Accessibility final : public quillory::Accessibility {
public:
    explicit Accessibility(std::function<HotkeyBackend&()> hotkeyBackend)
        : m_hotkeyBackend(std::move(hotkeyBackend))
    {
    }

    bool isProcessTrusted() override { return m_hotkeyBackend().isTrusted(false); }
    bool isProcessTrustedWithOptions(bool prompt) override { return m_hotkeyBackend().isTrusted(prompt); }

private:
    std::function<HotkeyBackend&()> m_hotkeyBackend;
};

}
