#include "platform/gtk/Alert.h"

#include <gtk/gtk.h>

#include "platform/gtk/Application.h"

namespace quillory::gtk {

namespace {

Gtk::MessageType messageType(AlertStyle style)
{
    switch (style) {
    case AlertStyle::informational:
        return Gtk::MessageType::INFO;
    case AlertStyle::critical:
        return Gtk::MessageType::ERROR;
    case AlertStyle::warning:
        break;
    }
    return Gtk::MessageType::WARNING;
}

// The title is for lists of windows; in the alert itself the message says the same.
void hideTitleLabel(Gtk::MessageDialog& dialog)
{
    auto* titlebar = gtk_window_get_titlebar(GTK_WINDOW(dialog.gobj()));
    for (auto* child = gtk_widget_get_first_child(titlebar); child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        if (GTK_IS_LABEL(child))
            gtk_widget_set_visible(child, FALSE);
    }
}

}

void Alert::runModal(std::function<void(int answer)> answered)
{
    m_dialog =
        std::make_unique<Gtk::MessageDialog>(m_messageText, false, messageType(m_style), Gtk::ButtonsType::NONE, true);
    m_dialog->set_secondary_text(m_informativeText);
    m_dialog->set_title(m_messageText);
    hideTitleLabel(*m_dialog);
    m_application.gtkApplication().add_window(*m_dialog);
    for (std::size_t i = 0; i < m_buttons.size(); ++i) {
        auto* button = m_dialog->add_button(m_buttons[i], alertFirstButtonReturn + static_cast<int>(i));
        // The toolkit names it by its label and by its text: it would be read out twice.
        gtk_accessible_reset_relation(GTK_ACCESSIBLE(button->gobj()), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
    }
    m_dialog->set_default_response(alertFirstButtonReturn);

    m_application.keep(shared_from_this());
    m_application.beginModal();
    m_dialog->signal_response().connect([this, answered = std::move(answered)](int response) {
        const auto self = shared_from_this();
        const auto handler = answered;
        m_application.endModal();
        m_application.release(self);
        m_dialog->hide();
        handler(response >= alertFirstButtonReturn ? response : 0);
    });
    m_dialog->present();
}

}
