#include "platform/gtk/FirstFrame.h"

#include <gdk/wayland/gdkwayland.h>
#include <gdkmm/frameclock.h>
#include <gdkmm/surface.h>
#include <glibmm/main.h>
#include <gtk/gtk.h>
#include <sigc++/sigc++.h>

#include <utility>

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
    window.signal_realize().connect(sigc::mem_fun(*this, &FirstFrame::realized));
    window.signal_map().connect(sigc::mem_fun(*this, &FirstFrame::mapped));
    window.signal_unmap().connect(sigc::mem_fun(*this, &FirstFrame::shown));
}

FirstFrame::~FirstFrame()
{
    m_timeout.disconnect();
}

void FirstFrame::realized()
{
    // A compositor says so once it has something to show.
    m_window.get_surface()->signal_enter_monitor().connect(sigc::hide(sigc::mem_fun(*this, &FirstFrame::shown)));
    m_window.get_frame_clock()->signal_paint().connect(sigc::mem_fun(*this, &FirstFrame::painted));
}

void FirstFrame::mapped()
{
    m_waiting = std::exchange(m_wasMapped, true);
}

void FirstFrame::painted()
{
    if (!m_waiting || m_timeout.connected())
        return;
    m_timeout = Glib::signal_timeout().connect(sigc::mem_fun(*this, &FirstFrame::mapAgain), patience);
}

void FirstFrame::shown()
{
    m_timeout.disconnect();
    m_waiting = false;
    m_attempts = 0;
}

bool FirstFrame::mapAgain()
{
    const int attempt = m_attempts + 1;
    if (attempt > maximumAttempts)
        return false;
    m_window.set_visible(false);
    // The next surface is made anew from the ground, and with it the native window that was refused.
    gtk_widget_unrealize(GTK_WIDGET(m_window.gobj()));
    m_attempts = attempt;
    m_window.present();
    return false;
}

}
