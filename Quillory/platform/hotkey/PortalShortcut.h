#pragma once

#include "platform/glib/GObjectPtr.h"

namespace quillory {

// The words in which the program's one shortcut is asked for and recognised on the bus.
namespace PortalShortcut {

// The desktop remembers a grant under this name, so it stays the same for good.
inline constexpr const char* identifier = "bring-to-front";

// With its description in the user's language, of the type a(sa{sv}).
GVariantPtr list();

// Whether the shortcut is in a list like that. What comes from the bus may be null, or of any type.
bool isIn(GVariant* list);
// The same in the list that GNOME keeps, where it may have no keys.
bool isInWithKeys(GVariant* list);

}

}
