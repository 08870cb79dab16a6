#include "platform/hotkey/GnomeShortcutStore.h"

#include <chrono>
#include <memory>
#include <utility>

#include "platform/hotkey/CurrentDesktop.h"

namespace quillory {

namespace {

constexpr const char* schemaName = "org.gnome.settings-daemon.global-shortcuts.application";
constexpr const char* folder = "/org/gnome/settings-daemon/global-shortcuts/";

// The settings change several things in a row, and tell the portal of each.
constexpr std::chrono::milliseconds settlingTime {300};

}

GnomeShortcutStore::GnomeShortcutStore(const std::string& applicationID)
{
    // Its settings may be installed beside another desktop, and know the program from another day.
    if (!isCurrentDesktop("GNOME"))
        return;
    auto* source = g_settings_schema_source_get_default();
    const std::unique_ptr<GSettingsSchema, FreedBy<g_settings_schema_unref>> schema(
        source != nullptr ? g_settings_schema_source_lookup(source, schemaName, TRUE) : nullptr);
    if (schema && g_settings_schema_has_key(schema.get(), "shortcuts") != 0)
        m_settings.reset(g_settings_new_full(schema.get(), nullptr, (folder + applicationID + "/").c_str()));
}

bool GnomeShortcutStore::has(const std::function<bool(GVariant* shortcuts)>& accept) const
{
    return m_settings && accept(GVariantPtr(g_settings_get_value(m_settings.get(), "shortcuts")).get());
}

void GnomeShortcutStore::watch(std::function<void()> changed)
{
    if (!m_settings)
        return;
    m_watch = connectScoped<void(const char*)>(m_settings.get(), "changed::shortcuts",
                                               [this, changed = std::move(changed)](const char*) {
                                                   m_settled.start(settlingTime, [changed] {
                                                       changed();
                                                       return false;
                                                   });
                                               });
}

void GnomeShortcutStore::stopWatching()
{
    m_watch.reset();
    m_settled.stop();
}

}
