#include "platform/gtk/window/ExportedWindow.h"

#include <gdk/wayland/gdkwayland.h>

#include <utility>

#include "platform/glib/BoxedFunction.h"

namespace quillory::gtk {

namespace {

using Received = BoxedFunction<void(std::string name)>;

constexpr const char* exportedKey = "quillory-exported";

void exported(GdkToplevel*, const char* handle, gpointer box)
{
    Received::of(box)(handle != nullptr ? std::string("wayland:") + handle : std::string());
}

}

void exportWindow(GtkWindow* window, std::function<void(std::string name)> received)
{
    auto* surface = gtk_native_get_surface(GTK_NATIVE(window));
    if (!GDK_IS_WAYLAND_TOPLEVEL(surface)) {
        received("");
        return;
    }
    // Older toolkits give a window that is exported already no second handle, and the first one ends when it is hidden.
    if (g_object_get_data(G_OBJECT(surface), exportedKey) != nullptr)
        gdk_wayland_toplevel_unexport_handle(GDK_TOPLEVEL(surface));
    auto* box = Received::make(std::move(received));
    const bool isExported =
        gdk_wayland_toplevel_export_handle(GDK_TOPLEVEL(surface), exported, box, Received::free) != 0;
    g_object_set_data(G_OBJECT(surface), exportedKey, isExported ? surface : nullptr);
    if (!isExported) {
        Received::of(box)("");
        Received::free(box);
    }
}

}
