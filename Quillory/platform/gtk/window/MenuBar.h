#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

#include "platform/Scene.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

// The standard menus, with the scene's command groups in place of the groups they replace.
GObjectPtr<GMenu> makeMenuBarModel(const Scene& scene);

// What every window has. The actions of all are in groups of widgets: those of an application window would be
// offered to every program on the session bus.
struct WindowActions {
    std::function<void()> quit;
    std::function<void()> close;
};
void installWindowActions(GtkWindow* window, const WindowActions& actions);

struct MenuActions {
    std::function<void()> minimize;
    // Gets the name of an editing command of the web engine.
    std::function<void(const char* command)> edit;
};

// Makes the model's other items work in `window`. Keys of the Edit menu are shown but left to the page.
void installMenuActions(GtkWindow* window, const Scene& scene, const MenuActions& actions);

// Gives the items of a menu bar their text as the name that a screen reader says, each time that their menu opens. By
// itself the toolkit names them after a label, again whenever something of them changes, and at least in 4.18 hides
// that label from the reader.
void nameMenuItems(GtkWidget* menuBar);

}
