#pragma once

#include <gtkmm/window.h>
#include <sigc++/trackable.h>

namespace quillory::gtk {

// Sees to it that a window which is shown again on Wayland gets its first picture. Now and then the
// toolkit's new GL surface for it cannot be made (EGL_BAD_ALLOC; measured with GTK 4.8.3 and Mesa 22.3: one
// time in ten), no picture is ever sent, and the compositor does not show the window. Mapping it once more,
// with all of its resources made anew, helps.
class FirstFrame : public sigc::trackable {
public:
    explicit FirstFrame(Gtk::Window& window);
    ~FirstFrame();
    FirstFrame(const FirstFrame&) = delete;
    FirstFrame& operator=(const FirstFrame&) = delete;

private:
    void realized();
    void mapped();
    void painted();
    void shown();
    bool mapAgain();

    Gtk::Window& m_window;
    sigc::connection m_timeout;
    bool m_wasMapped = false;
    bool m_waiting = false;
    int m_attempts = 0;
};

}
