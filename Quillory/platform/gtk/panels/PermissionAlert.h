#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/gtk/panels/Alert.h"
#include "platform/hotkey/HotkeyBackend.h"

namespace quillory::gtk {

// The alert about the hotkey's permission, beside the question that the desktop itself has for the user.
class PermissionAlert final : public quillory::Alert, public std::enable_shared_from_this<PermissionAlert> {
public:
    // `backend` must outlive the alert.
    PermissionAlert(Application& application, HotkeyBackend& backend);

    void setMessageText(const std::string& text) override { m_alert->setMessageText(text); }
    // Another text takes its place where the desktop has no settings that it could speak of.
    void setInformativeText(const std::string& text) override { m_informativeText = text; }
    void setAlertStyle(AlertStyle style) override { m_alert->setAlertStyle(style); }
    // The first one, which opens the settings, is not there where there are none.
    void addButtonWithTitle(const std::string& title) override { m_buttons.push_back(title); }
    void runModal(std::function<void(int answer)> answered) override { begin(true, std::move(answered)); }
    void show(std::function<void(int answer)> answered) override { begin(false, std::move(answered)); }

    // Shows, keeps back or dismisses the alert, as the desktop and the user have decided meanwhile.
    void update();

private:
    void begin(bool modal, std::function<void(int answer)> answered);
    void present();
    void finish(int answer);

    Application& m_application;
    HotkeyBackend& m_backend;
    std::shared_ptr<gtk::Alert> m_alert;
    std::string m_informativeText;
    std::vector<std::string> m_buttons;
    std::function<void(int answer)> m_answered; // until it is
    bool m_modal = true;
    bool m_shown = false;
};

}
