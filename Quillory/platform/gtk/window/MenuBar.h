#pragma once

#include <gtk/gtk.h>

#include <functional>

#include "platform/Scene.h"

namespace quillory::gtk {

// Quit and Close, with their keys, which every window has. The actions of all menus are in groups of widgets: those of
// an application window would be offered to every program on the session bus.
void installWindowActions(GtkWindow* window, std::function<void()> quit);

// The standard menus, with the scene's command groups in place of the groups they replace. Their items work in
// `window`; `edit` gets the name of an editing command of the web engine. Keys of the Edit menu are shown but left to
// the page.
GtkWidget* makeMenuBar(GtkWindow* window, const Scene& scene, std::function<void(const char* command)> edit);

}
