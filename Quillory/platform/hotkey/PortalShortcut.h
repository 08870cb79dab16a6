#pragma once

#include <string>

#include "platform/glib/GObjectPtr.h"

namespace quillory {

// The words in which the program's one shortcut is asked for and recognised on the bus.
namespace PortalShortcut {

// With its description in the user's language, of the type a(sa{sv}).
GVariantPtr list();

// What comes from the bus may be null, or of any type.
bool isIn(GVariant* list);
bool isNamed(GVariant* identifier);
// The same in the list that GNOME keeps, where it may have no keys.
bool isInWithKeys(GVariant* list);

// Of a text or an object path; empty for anything else.
std::string text(GVariant* value);
// Null for none.
GVariantPtr option(GVariant* options, const char* key);

}

}
