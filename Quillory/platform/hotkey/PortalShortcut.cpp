#include "platform/hotkey/PortalShortcut.h"

#include "platform/Localization.h"

namespace quillory::PortalShortcut {

namespace {

// The desktop remembers a grant under this name, so it stays the same for good.
constexpr const char* identifier = "bring-to-front";
constexpr const char* preferredTrigger = "LOGO+SHIFT+e";

bool isOfType(GVariant* value, const char* type)
{
    return value != nullptr && g_variant_is_of_type(value, G_VARIANT_TYPE(type)) != 0;
}

// What a list says of the shortcut; null if it is not there.
GVariantPtr propertiesIn(GVariant* list)
{
    if (!isOfType(list, "a(sa{sv})"))
        return nullptr;
    for (gsize i = 0; i < g_variant_n_children(list); ++i) {
        const GVariantPtr shortcut(g_variant_get_child_value(list, i));
        const GVariantPtr name(g_variant_get_child_value(shortcut.get(), 0));
        if (isNamed(name.get()))
            return GVariantPtr(g_variant_get_child_value(shortcut.get(), 1));
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
    const auto keys = option(propertiesIn(list).get(), "shortcuts");
    return isOfType(keys.get(), "as") && g_variant_n_children(keys.get()) > 0;
}

bool isNamed(GVariant* name)
{
    return text(name) == identifier;
}

std::string text(GVariant* value)
{
    if (!isOfType(value, "s") && !isOfType(value, "o"))
        return {};
    return g_variant_get_string(value, nullptr);
}

GVariantPtr option(GVariant* options, const char* key)
{
    return GVariantPtr(isOfType(options, "a{sv}") ? g_variant_lookup_value(options, key, nullptr) : nullptr);
}

}
