#include "platform/hotkey/GnomeShortcutStore.h"

#include <memory>

#include "platform/glib/GObjectPtr.h"

namespace quillory::GnomeShortcutStore {

namespace {

struct SchemaUnref {
    void operator()(GSettingsSchema* schema) const { g_settings_schema_unref(schema); }
};

constexpr const char* schemaName = "org.gnome.settings-daemon.global-shortcuts.application";
constexpr const char* folder = "/org/gnome/settings-daemon/global-shortcuts/";

}

bool has(const std::string& applicationID, const std::function<bool(GVariant* shortcuts)>& accept)
{
    auto* source = g_settings_schema_source_get_default();
    const std::unique_ptr<GSettingsSchema, SchemaUnref> schema(
        source != nullptr ? g_settings_schema_source_lookup(source, schemaName, TRUE) : nullptr);
    if (!schema || g_settings_schema_has_key(schema.get(), "shortcuts") == 0)
        return false;
    const GObjectPtr<GSettings> settings(
        g_settings_new_full(schema.get(), nullptr, (folder + applicationID + "/").c_str()));
    const GVariantPtr shortcuts(g_settings_get_value(settings.get(), "shortcuts"));
    return accept(shortcuts.get());
}

}
