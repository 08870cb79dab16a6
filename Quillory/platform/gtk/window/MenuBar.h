#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

#include "platform/Scene.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

// The standard menus, with the scene's command groups in place of the groups they replace.
GObjectPtr<GMenu> makeMenuBarModel(const Scene& scene);

struct MenuActions {
    std::function<void()> quit;
    std::function<void()> close;
    std::function<void()> minimize;
    // Gets the name of an editing command of the web engine.
    std::function<void(const char* command)> edit;
};

// Makes the model's items work in `window`. Keys of the Edit menu are shown but left to the page.
void installMenuActions(GtkApplicationWindow* window, const Scene& scene, const MenuActions& actions);

// Gives the items of a menu bar their text as the name that a screen reader says, each time that their menu opens. By
// itself the toolkit names them after a label, again whenever something of them changes, and at least in 4.18 hides
// that label from the reader.
void nameMenuItems(GtkWidget* menuBar);

}
