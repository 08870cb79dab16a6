// The least that a hotkey takes: a passive grab and a window that is presented.
#include <gdk/x11/gdkx.h>
#include <glib-unix.h>
#include <gtk/gtk.h>
#include <xcb/xcb.h>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr xcb_keycode_t keyE = 26;

gboolean pressed(gint, GIOCondition, gpointer data)
{
    struct Source {
        xcb_connection_t* connection;
        GtkWindow* window;
    };
    auto* source = static_cast<Source*>(data);
    while (xcb_generic_event_t* event = xcb_poll_for_event(source->connection)) {
        if ((event->response_type & 0x7F) == XCB_KEY_PRESS)
            gtk_window_present_with_time(source->window, reinterpret_cast<xcb_key_press_event_t*>(event)->time);
        std::free(event);
    }
    return G_SOURCE_CONTINUE;
}

}

int main()
{
    gtk_init();
    GtkWidget* window = gtk_window_new();
    gtk_window_set_title(GTK_WINDOW(window), "Quillory");
    gtk_window_set_default_size(GTK_WINDOW(window), 1152, 922);
    gtk_window_present(GTK_WINDOW(window));

    xcb_connection_t* connection = xcb_connect(nullptr, nullptr);
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_grab_key(connection, 0, root, XCB_MOD_MASK_4 | XCB_MOD_MASK_SHIFT, keyE, XCB_GRAB_MODE_ASYNC,
                 XCB_GRAB_MODE_ASYNC);
    xcb_flush(connection);
    struct {
        xcb_connection_t* connection;
        GtkWindow* window;
    } source {connection, GTK_WINDOW(window)};
    g_unix_fd_add(xcb_get_file_descriptor(connection), G_IO_IN, pressed, &source);
    std::puts("grabbed");
    std::fflush(stdout);
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
}
