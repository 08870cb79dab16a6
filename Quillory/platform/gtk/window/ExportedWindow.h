#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

namespace quillory::gtk {

// Hands the name of a window that is on the screen, as the desktop's portal knows it, to `received`: later, or at
// once an empty text where it has none. The desktop can then put its dialogs above that window.
void exportWindow(GtkWindow* window, std::function<void(std::string name)> received);

}
