#include "platform/hotkey/PortalShortcut.h"

#include "platform/Localization.h"

namespace quillory::PortalShortcut {

namespace {

// The desktop remembers a grant under this name, so it stays the same for good.
constexpr const char* identifier = "bring-to-front";
constexpr const char* preferredTrigger = "LOGO+SHIFT+e";

Glib::VariantBase string(const Glib::ustring& value)
{
    return Glib::Variant<Glib::ustring>::create(value);
}

}

List list()
{
    return {{identifier,
             {{"description", string(localized("Bring Quillory to the front"))},
              {"preferred_trigger", string(preferredTrigger)}}}};
}

bool isIn(const Glib::VariantBase& list)
{
    if (!list || !list.is_of_type(Glib::VariantType("a(sa{sv})")))
        return false;
    const auto shortcuts = Glib::VariantBase::cast_dynamic<Glib::Variant<List>>(list).get();
    for (const auto& [name, properties] : shortcuts)
        if (name == identifier)
            return true;
    return false;
}

bool isNamed(const Glib::VariantBase& name)
{
    return text(name) == identifier;
}

std::string text(const Glib::VariantBase& value)
{
    if (!value || !(value.is_of_type(Glib::VARIANT_TYPE_STRING) || value.is_of_type(Glib::VARIANT_TYPE_OBJECT_PATH)))
        return {};
    return g_variant_get_string(const_cast<GVariant*>(value.gobj()), nullptr);
}

Glib::VariantBase option(const Glib::VariantBase& options, const char* key)
{
    if (!options || !options.is_of_type(Glib::VariantType("a{sv}")))
        return {};
    const auto all = Glib::VariantBase::cast_dynamic<Glib::Variant<Options>>(options).get();
    const auto found = all.find(key);
    return found == all.end() ? Glib::VariantBase() : found->second;
}

}
