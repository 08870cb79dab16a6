#pragma once

#include <functional>
#include <string>

namespace quillory::gtk {

// The colour that the user has chosen for what is chosen or has the focus. Main thread.

// Gives it to the windows and tells the listener. Parts that are not between 0 and 1 mean that there is none: the
// theme's own is back then. Needs the display to be open.
void setAccentColor(double red, double green, double blue);

// The one listener is called with the colour as style sheets have it, empty for none, now and when it changes; null
// takes it away.
void listenToAccentColor(std::function<void(const std::string& color)> listener);

}
