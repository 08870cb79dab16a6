#include "platform/gtk/window/FirstFrame.h"

#include <gdk/wayland/gdkwayland.h>

#include <chrono>
#include <utility>

namespace quillory::gtk {

namespace {

// Long enough for a picture that is only slow, which mapping again would delay.
constexpr std::chrono::milliseconds patience {300};
constexpr int maximumAttempts = 10;

}

FirstFrame::FirstFrame(GtkWindow* window)
    : m_window(window)
{
    // Toolkits with the newer renderer do not lose the picture, and not all of them tell of the monitor once more.
    const bool hasNewRenderer = gtk_check_version(4, 14, 0) == nullptr;
    if (hasNewRenderer || !GDK_IS_WAYLAND_DISPLAY(gtk_widget_get_display(GTK_WIDGET(window))))
        return;
    m_windowConnections = {
        connectScoped<void()>(window, "realize", [this] { realized(); }),
        connectScoped<void()>(window, "map", [this] { mapped(); }),
        connectScoped<void()>(window, "unmap", [this] { shown(); }),
    };
}

void FirstFrame::realized()
{
    auto* surface = gtk_native_get_surface(GTK_NATIVE(m_window));
    m_surfaceConnections = {
        // A compositor says so once it has something to show.
        connectScoped<void(GdkMonitor*)>(surface, "enter-monitor", [this](GdkMonitor*) { shown(); }),
        connectScoped<void()>(gdk_surface_get_frame_clock(surface), "paint", [this] { painted(); }),
    };
}

void FirstFrame::mapped()
{
    m_waiting = std::exchange(m_wasMapped, true);
}

void FirstFrame::painted()
{
    if (!m_waiting || m_timeout.isUnderWay())
        return;
    m_timeout.start(patience, [this] {
        mapAgain();
        return false;
    });
}

void FirstFrame::shown()
{
    m_timeout.stop();
    m_waiting = false;
    m_attempts = 0;
}

void FirstFrame::mapAgain()
{
    const int attempt = m_attempts + 1;
    if (attempt > maximumAttempts)
        return;
    gtk_widget_set_visible(GTK_WIDGET(m_window), FALSE);
    // The next surface is made anew from the ground, and with it the native window that was refused.
    gtk_widget_unrealize(GTK_WIDGET(m_window));
    m_attempts = attempt;
    gtk_window_present(m_window);
}

}
