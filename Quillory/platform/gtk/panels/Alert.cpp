#include "platform/gtk/panels/Alert.h"

#include "platform/glib/SignalConnection.h"
#include "platform/gtk/application/Application.h"

namespace quillory::gtk {

namespace {

GtkMessageType messageType(AlertStyle style)
{
    switch (style) {
    case AlertStyle::informational:
        return GTK_MESSAGE_INFO;
    case AlertStyle::critical:
        return GTK_MESSAGE_ERROR;
    case AlertStyle::warning:
        break;
    }
    return GTK_MESSAGE_WARNING;
}

// The title is for lists of windows; in the alert itself the message says the same. Where the window manager draws the
// frame there is no bar of the toolkit's.
void hideTitleLabel(GtkDialog* dialog)
{
    auto* titlebar = gtk_window_get_titlebar(GTK_WINDOW(dialog));
    for (auto* child = titlebar != nullptr ? gtk_widget_get_first_child(titlebar) : nullptr; child != nullptr;
         child = gtk_widget_get_next_sibling(child)) {
        if (GTK_IS_LABEL(child))
            gtk_widget_set_visible(child, FALSE);
    }
}

}

void Alert::present(bool modal, std::function<void(int answer)> answered)
{
    m_dialog =
        own(GTK_DIALOG(g_object_new(GTK_TYPE_MESSAGE_DIALOG, "message-type", messageType(m_style), "buttons",
                                    GTK_BUTTONS_NONE, "modal", modal, "title", m_messageText.c_str(), "text",
                                    m_messageText.c_str(), "secondary-text", m_informativeText.c_str(), nullptr)));
    hideTitleLabel(m_dialog.get());
    // Above that window, whatever raises it.
    gtk_window_set_transient_for(GTK_WINDOW(m_dialog.get()), m_application.mainWindow());
    gtk_application_add_window(m_application.gtkApplication(), GTK_WINDOW(m_dialog.get()));
    for (std::size_t i = 0; i < m_buttons.size(); ++i) {
        auto* button =
            gtk_dialog_add_button(m_dialog.get(), m_buttons[i].c_str(), alertFirstButtonReturn + static_cast<int>(i));
        // The toolkit names it by its label and by its text: it would be read out twice.
        gtk_accessible_reset_relation(GTK_ACCESSIBLE(button), GTK_ACCESSIBLE_RELATION_LABELLED_BY);
    }
    gtk_dialog_set_default_response(m_dialog.get(), alertFirstButtonReturn);

    m_application.keep(shared_from_this());
    if (modal)
        m_application.beginModal(GTK_WINDOW(m_dialog.get()));
    connectSignal<void(int)>(m_dialog.get(), "response", [this, modal, answered = std::move(answered)](int response) {
        const auto self = shared_from_this();
        const auto handler = answered;
        if (modal)
            m_application.endModal(GTK_WINDOW(m_dialog.get()));
        m_application.release(self);
        gtk_widget_set_visible(GTK_WIDGET(m_dialog.get()), FALSE);
        handler(response >= alertFirstButtonReturn ? response : 0);
    });
    gtk_window_present(GTK_WINDOW(m_dialog.get()));
}

}
