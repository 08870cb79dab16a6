#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "platform/Alert.h"
#include "platform/gtk/window/WindowPtr.h"

namespace quillory::gtk {

class Application;

class Alert final : public quillory::Alert, public std::enable_shared_from_this<Alert> {
public:
    explicit Alert(Application& application)
        : m_application(application)
    {
    }

    void setMessageText(const std::string& text) override { m_messageText = text; }
    void setInformativeText(const std::string& text) override { m_informativeText = text; }
    void setAlertStyle(AlertStyle style) override { m_style = style; }
    void addButtonWithTitle(const std::string& title) override { m_buttons.push_back(title); }
    void runModal(std::function<void(int answer)> answered) override { present(true, std::move(answered)); }
    void show(std::function<void(int answer)> answered) override { present(false, std::move(answered)); }

    // Closes it unanswered.
    void dismiss() { gtk_dialog_response(m_dialog.get(), GTK_RESPONSE_DELETE_EVENT); }

private:
    void present(bool modal, std::function<void(int answer)> answered);

    Application& m_application;
    std::string m_messageText;
    std::string m_informativeText;
    AlertStyle m_style = AlertStyle::warning;
    std::vector<std::string> m_buttons;
    WindowPtr<GtkDialog> m_dialog;
};

}
