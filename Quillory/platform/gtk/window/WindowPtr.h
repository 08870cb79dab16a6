#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

struct WindowDestroy {
    template<typename T> void operator()(T* window) const
    {
        // Does nothing to a window that the toolkit has destroyed already.
        gtk_window_destroy(GTK_WINDOW(window));
        g_object_unref(window);
    }
};

// Owns a window, which goes from the screen with it.
template<typename T> using WindowPtr = std::unique_ptr<T, WindowDestroy>;

// Takes a window that was just made. The toolkit has a reference of its own until it is destroyed.
template<typename T> WindowPtr<T> own(T* window)
{
    return WindowPtr<T>(static_cast<T*>(g_object_ref(window)));
}

}
