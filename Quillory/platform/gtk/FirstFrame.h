#pragma once

#include <gtkmm/window.h>

namespace quillory::gtk {

// Sees to it that a window which is mapped on Wayland gets its first picture. Now and then the toolkit's
// GL surface for a window that was hidden before cannot be made (EGL_BAD_ALLOC; measured with GTK 4.8.3
// and Mesa 22.3: one time in ten), no picture is ever sent, and the compositor does not show the window.
// Mapping it once more helps.
class FirstFrame {
public:
    // Watches `window` as long as both live.
    explicit FirstFrame(Gtk::Window& window);
    ~FirstFrame();
    FirstFrame(const FirstFrame&) = delete;
    FirstFrame& operator=(const FirstFrame&) = delete;

private:
    void mapped();
    void shown();
    void mapAgain();

    Gtk::Window& m_window;
    sigc::connection m_timeout;
    int m_attempts = 0;
};

}
