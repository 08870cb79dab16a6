#include "platform/gtk/web/PageRecovery.h"

#include <cstdio>
#include <utility>

#include "platform/Localization.h"
#include "platform/glib/SignalConnection.h"

namespace quillory::gtk {

namespace {

constexpr std::chrono::minutes period {1};
constexpr std::size_t mostEnds = 3;

void appendLabel(GtkBox* column, const std::string& text, const char* style)
{
    auto* label = gtk_label_new(text.c_str());
    gtk_label_set_wrap(GTK_LABEL(label), TRUE);
    gtk_label_set_justify(GTK_LABEL(label), GTK_JUSTIFY_CENTER);
    gtk_widget_add_css_class(label, style);
    gtk_box_append(column, label);
}

}

PageRecovery::PageRecovery(WebKitWebView* view, std::function<void()> load)
    : m_view(view)
    , m_load(std::move(load))
{
}

void PageRecovery::processEnded()
{
    const auto now = Clock::now();
    while (!m_ends.empty() && now - m_ends.front() > period)
        m_ends.pop_front();
    m_ends.push_back(now);
    if (m_ends.size() < mostEnds) {
        std::fputs("quillory: the page's process has ended, the page is loaded again\n", stderr);
        return m_load();
    }
    std::fputs("quillory: the page's process has ended three times within a minute, the page waits for the user\n",
               stderr);
    showMessage();
}

void PageRecovery::showMessage()
{
    auto* view = GTK_WIDGET(m_view);
    constexpr int spacing = 12;
    m_message = gtk_box_new(GTK_ORIENTATION_VERTICAL, spacing);
    auto* column = GTK_BOX(m_message);
    gtk_widget_set_hexpand(m_message, TRUE);
    gtk_widget_set_valign(m_message, GTK_ALIGN_CENTER);
    appendLabel(column, localized("The editor has stopped"), "title-2");
    appendLabel(column, localized("It ended three times within a minute and was not loaded again."), "dim-label");
    auto* button = gtk_button_new_with_label(localized("Reload").c_str());
    gtk_widget_set_halign(button, GTK_ALIGN_CENTER);
    connectSignal<void()>(button, "clicked", [this] { reload(); });
    gtk_box_append(column, button);
    gtk_box_append(GTK_BOX(gtk_widget_get_parent(view)), m_message);
    gtk_widget_set_visible(view, FALSE);
    gtk_widget_grab_focus(button);
}

void PageRecovery::reload()
{
    auto* view = GTK_WIDGET(m_view);
    m_ends.clear();
    gtk_widget_set_visible(view, TRUE);
    gtk_widget_grab_focus(view);
    gtk_box_remove(GTK_BOX(gtk_widget_get_parent(view)), std::exchange(m_message, nullptr));
    m_load();
}

}
