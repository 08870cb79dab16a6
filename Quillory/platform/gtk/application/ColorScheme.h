#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

namespace quillory::gtk {

// Has the windows, and the page with them, be dark or light and have the accent that the desktop prefers, now and
// whenever that changes.
// The desktop's portal knows; without one, or where it has no preference, the toolkit's own settings stay. A theme that
// is dark by its name stays dark. Main thread, with the display open, once; does not wait for the answer.
void followColorScheme(GDBusConnection* sessionBus);

// The one listener is called with the colour that the user has chosen for what is chosen or has the focus, as style
// sheets have it, empty for none, now and when it changes; null takes it away. Main thread.
void listenToAccentColor(std::function<void(const std::string& color)> listener);

}
