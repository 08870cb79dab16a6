#include "platform/hotkey/PortalShortcut.h"

#include <cstring>

#include "platform/Localization.h"

namespace quillory::PortalShortcut {

namespace {

constexpr const char* preferredTrigger = "LOGO+SHIFT+e";

// What a list says of the shortcut; null if it is not there.
GVariantPtr propertiesIn(GVariant* list)
{
    if (list == nullptr || g_variant_is_of_type(list, G_VARIANT_TYPE("a(sa{sv})")) == 0)
        return nullptr;
    GVariantIter shortcuts;
    g_variant_iter_init(&shortcuts, list);
    const char* name = nullptr;
    GVariant* properties = nullptr;
    while (g_variant_iter_next(&shortcuts, "(&s@a{sv})", &name, &properties) != 0) {
        GVariantPtr owner(properties);
        if (std::strcmp(name, identifier) == 0)
            return owner;
    }
    return nullptr;
}

}

GVariantPtr list()
{
    GVariantDict properties;
    g_variant_dict_init(&properties, nullptr);
    g_variant_dict_insert(&properties, "description", "s", localized("Bring Quillory to the front").c_str());
    g_variant_dict_insert(&properties, "preferred_trigger", "s", preferredTrigger);
    GVariant* shortcut = g_variant_new("(s@a{sv})", identifier, g_variant_dict_end(&properties));
    return GVariantPtr(g_variant_ref_sink(g_variant_new_array(nullptr, &shortcut, 1)));
}

bool isIn(GVariant* list)
{
    return propertiesIn(list) != nullptr;
}

bool isInWithKeys(GVariant* list)
{
    const auto properties = propertiesIn(list);
    const GVariantPtr keys(
        properties ? g_variant_lookup_value(properties.get(), "shortcuts", G_VARIANT_TYPE_STRING_ARRAY) : nullptr);
    return keys && g_variant_n_children(keys.get()) > 0;
}

}
