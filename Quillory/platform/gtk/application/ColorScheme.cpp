#include "platform/gtk/application/ColorScheme.h"

#include <gtk/gtk.h>

#include <cstdint>
#include <string_view>

#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

namespace {

constexpr const char* portalName = "org.freedesktop.portal.Desktop";
constexpr const char* portalPath = "/org/freedesktop/portal/desktop";
constexpr const char* settingsInterface = "org.freedesktop.portal.Settings";
constexpr const char* group = "org.freedesktop.appearance";
constexpr const char* key = "color-scheme";
constexpr const char* toolkitKey = "gtk-application-prefer-dark-theme";

enum Scheme : std::uint32_t { noPreference, preferDark, preferLight };

// Takes the value in as many variants as a portal wraps it: one in a signal, two in an answer.
void apply(GVariantPtr value)
{
    while (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_VARIANT) != 0)
        value.reset(g_variant_get_variant(value.get()));
    if (g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT32) == 0)
        return;
    auto* settings = gtk_settings_get_default();
    const auto scheme = g_variant_get_uint32(value.get());
    if (scheme == preferDark || scheme == preferLight)
        g_object_set(settings, toolkitKey, static_cast<gboolean>(scheme == preferDark), nullptr);
    else
        gtk_settings_reset_property(settings, toolkitKey);
}

void changed(GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* parameters, gpointer)
{
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ssv)")) == 0)
        return;
    const GVariantPtr name(g_variant_get_child_value(parameters, 1));
    if (std::string_view(g_variant_get_string(name.get(), nullptr)) == key)
        apply(GVariantPtr(g_variant_get_child_value(parameters, 2)));
}

void answered(GObject* bus, GAsyncResult* result, gpointer)
{
    const GVariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr));
    if (reply)
        apply(GVariantPtr(g_variant_get_child_value(reply.get(), 0)));
}

void connected(GObject*, GAsyncResult* result, gpointer)
{
    const GObjectPtr<GDBusConnection> bus(g_bus_get_finish(result, nullptr));
    if (!bus)
        return;
    g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
    g_dbus_connection_signal_subscribe(bus.get(), portalName, settingsInterface, "SettingChanged", portalPath, group,
                                       G_DBUS_SIGNAL_FLAGS_NONE, changed, nullptr, nullptr);
    g_dbus_connection_call(bus.get(), portalName, portalPath, settingsInterface, "Read",
                           g_variant_new("(ss)", group, key), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, -1,
                           nullptr, answered, nullptr);
}

}

void followColorScheme()
{
    g_bus_get(G_BUS_TYPE_SESSION, nullptr, connected, nullptr);
}

}
