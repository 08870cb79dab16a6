#pragma once

#include <functional>

#include "platform/Accessibility.h"
#include "platform/hotkey/HotkeyBackend.h"

namespace quillory::gtk {

class Application;
class PermissionAlert;

// Trust is whatever the window system's way to the hotkey asks for.
class Accessibility final : public quillory::Accessibility {
public:
    Accessibility(Application& application, std::function<HotkeyBackend&()> hotkeyBackend)
        : m_application(application)
        , m_hotkeyBackend(std::move(hotkeyBackend))
    {
    }

    bool isProcessTrusted() override { return m_hotkeyBackend().isTrusted(false); }
    bool isProcessTrustedWithOptions(bool prompt) override { return m_hotkeyBackend().isTrusted(prompt); }
    void whenTrusted(std::function<void()> granted) override { m_granted = std::move(granted); }
    std::shared_ptr<quillory::Alert> makePermissionAlert() override;

    // The desktop has asked the user, or answered.
    void changed();

private:
    Application& m_application;
    std::function<HotkeyBackend&()> m_hotkeyBackend;
    std::function<void()> m_granted;
    std::weak_ptr<PermissionAlert> m_alert;
};

}
