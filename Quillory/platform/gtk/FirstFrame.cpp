#include "platform/gtk/FirstFrame.h"

#include <gdk/wayland/gdkwayland.h>
#include <gdkmm/surface.h>
#include <glibmm/main.h>
#include <gtk/gtk.h>

namespace quillory::gtk {

namespace {

// Long enough for a picture that is only slow, which mapping again would delay.
constexpr unsigned patience = 300; // milliseconds
constexpr int maximumAttempts = 10;

}

FirstFrame::FirstFrame(Gtk::Window& window)
    : m_window(window)
{
    if (!GDK_IS_WAYLAND_DISPLAY(window.get_display()->gobj()))
        return;
    window.signal_realize().connect([this] {
        // A compositor says so once it has something to show.
        m_window.get_surface()->signal_enter_monitor().connect([this](const auto&) { shown(); });
    });
    window.signal_map().connect([this] { mapped(); });
    window.signal_unmap().connect([this] { m_timeout.disconnect(); });
}

FirstFrame::~FirstFrame()
{
    m_timeout.disconnect();
}

void FirstFrame::mapped()
{
    m_timeout.disconnect();
    m_timeout = Glib::signal_timeout().connect(
        [this] {
            mapAgain();
            return false;
        },
        patience);
}

void FirstFrame::shown()
{
    m_timeout.disconnect();
    m_attempts = 0;
}

void FirstFrame::mapAgain()
{
    if (++m_attempts > maximumAttempts)
        return;
    m_window.set_visible(false);
    // Makes the next surface anew from the ground, and with it the native window that was refused.
    gtk_widget_unrealize(GTK_WIDGET(m_window.gobj()));
    m_window.present();
}

}
