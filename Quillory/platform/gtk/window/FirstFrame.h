#pragma once

#include <gtk/gtk.h>

#include <array>

#include "platform/glib/SignalConnection.h"
#include "platform/glib/Timeout.h"

namespace quillory::gtk {

// Sees to it that a window which is shown again on Wayland gets its first picture. Now and then the
// toolkit's new GL surface for it cannot be made (EGL_BAD_ALLOC; measured with GTK 4.8.3 and Mesa 22.3: one
// time in ten), no picture is ever sent, and the compositor does not show the window. Mapping it once more,
// with all of its resources made anew, helps. From GTK 4.14 on this does nothing.
class FirstFrame {
public:
    // The window outlives this.
    explicit FirstFrame(GtkWindow* window);
    FirstFrame(const FirstFrame&) = delete;
    FirstFrame& operator=(const FirstFrame&) = delete;

private:
    void realized();
    void mapped();
    void painted();
    void shown();
    void mapAgain();

    GtkWindow* m_window;
    std::array<SignalConnection, 3> m_windowConnections;
    std::array<SignalConnection, 2> m_surfaceConnections;
    Timeout m_timeout;
    bool m_wasMapped = false;
    bool m_waiting = false;
    int m_attempts = 0;
};

}
