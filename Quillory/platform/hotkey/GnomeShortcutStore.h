#pragma once

#include <functional>
#include <string>

#include <gio/gio.h>

namespace quillory::GnomeShortcutStore {

// Whether GNOME has shortcuts for the application that `accept` accepts, as a list of the type a(sa{sv}). Its portal
// does not say so without asking the user for those that it does not have. False on another desktop.
bool has(const std::string& applicationID, const std::function<bool(GVariant* shortcuts)>& accept);

}
