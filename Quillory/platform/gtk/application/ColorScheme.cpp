#include "platform/gtk/application/ColorScheme.h"

#include <gtk/gtk.h>

#include <cstdint>
#include <string_view>

#include "platform/glib/GObjectPtr.h"
#include "platform/gtk/application/AccentColor.h"

namespace quillory::gtk {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* settingsInterface = "org.freedesktop.portal.Settings";
constexpr const char* group = "org.freedesktop.appearance";
constexpr const char* schemeKey = "color-scheme";
constexpr const char* accentKey = "accent-color";
constexpr const char* toolkitKey = "gtk-application-prefer-dark-theme";

enum Scheme : std::uint32_t { noPreference, preferDark, preferLight };

void setScheme(std::uint32_t scheme)
{
    auto* settings = gtk_settings_get_default();
    if (scheme == preferDark || scheme == preferLight)
        g_object_set(settings, toolkitKey, static_cast<gboolean>(scheme == preferDark), nullptr);
    else
        gtk_settings_reset_property(settings, toolkitKey);
}

// Takes the value in as many variants as a portal wraps it: one in a signal, two in an answer.
void applySetting(std::string_view key, GVariantPtr value)
{
    while (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_VARIANT) != 0)
        value.reset(g_variant_get_variant(value.get()));
    if (key == schemeKey && g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT32) != 0) {
        setScheme(g_variant_get_uint32(value.get()));
    } else if (key == accentKey && g_variant_is_of_type(value.get(), G_VARIANT_TYPE("(ddd)")) != 0) {
        double red = 0;
        double green = 0;
        double blue = 0;
        g_variant_get(value.get(), "(ddd)", &red, &green, &blue);
        setAccentColor(red, green, blue);
    }
}

void changed(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters, gpointer)
{
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssv)")) == 0)
        return;
    const GVariantPtr name(g_variant_get_child_value(parameters, 1));
    applySetting(g_variant_get_string(name.get(), nullptr), GVariantPtr(g_variant_get_child_value(parameters, 2)));
}

void answered(GObject* bus, GAsyncResult* result, gpointer key)
{
    const GVariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr));
    if (reply)
        applySetting(static_cast<const char*>(key), GVariantPtr(g_variant_get_child_value(reply.get(), 0)));
}

void connected(GObject*, GAsyncResult* result, gpointer)
{
    const GObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
    if (!bus)
        return;
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    g_dbus_connection_signal_subscribe(bus.get(), portalName, settingsInterface, "SettingChanged", portalPath, group,
                                       G_DBUS_SIGNAL_FLAGS_NONE, changed, nullptr, nullptr);
    for (const char* key : {schemeKey, accentKey})
        g_dbus_connection_call(bus.get(), portalName, portalPath, settingsInterface, "Read",
                               g_variant_new("(ss)", group, key), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, -1,
                               nullptr, answered, const_cast<char*>(key));
}

}

void followColorScheme()
{
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, connected, nullptr);
}

}
