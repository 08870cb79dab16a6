#include "platform/gtk/application/ColorScheme.h"

#include <gtk/gtk.h>

#include <cstdint>
#include <string_view>
#include <utility>

#include "platform/glib/GObjectPtr.h"

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

// What the toolkit's own theme has in its own blue, of the parts that the program's windows have.
constexpr const char* accentRules = R"(
menubar > item:hover, menubar > item:selected {
  box-shadow: inset 0 -3px @desktop_accent;
  color: mix(@desktop_accent, @theme_fg_color, 0.5);
}
link, button.link, button.link > label { color: mix(@desktop_accent, @theme_fg_color, 0.5); }
:focus-visible { outline-color: alpha(@desktop_accent, 0.6); }
)";

std::string accentColor;
std::function<void(const std::string&)> accentListener;

void setScheme(std::uint32_t scheme)
{
    auto* settings = gtk_settings_get_default();
    if (scheme == preferDark || scheme == preferLight)
        g_object_set(settings, toolkitKey, static_cast<gboolean>(scheme == preferDark), nullptr);
    else
        gtk_settings_reset_property(settings, toolkitKey);
}

GtkCssProvider* accentStyles()
{
    static const auto provider = [] {
        GObjectPtr<GtkCssProvider> made(gtk_css_provider_new());
        gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(made.get()),
                                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        return made;
    }();
    return provider.get();
}

// Parts that are not between 0 and 1 mean that there is none: the theme's own is back then.
std::string cssColor(double red, double green, double blue)
{
    for (const double part : {red, green, blue}) {
        if (!(part >= 0 && part <= 1))
            return {};
    }
    const GdkRGBA color {static_cast<float>(red), static_cast<float>(green), static_cast<float>(blue), 1};
    return GStringPtr(gdk_rgba_to_string(&color)).get();
}

void setAccentColor(std::string color)
{
    if (color == accentColor)
        return;
    accentColor = std::move(color);
    const auto css = accentColor.empty() ? "" : "@define-color desktop_accent " + accentColor + ";" + accentRules;
    gtk_css_provider_load_from_data(accentStyles(), css.c_str(), -1);
    if (accentListener)
        accentListener(accentColor);
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
        setAccentColor(cssColor(red, green, blue));
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

}

void followColorScheme(GDBusConnection* sessionBus)
{
    g_dbus_connection_signal_subscribe(sessionBus, portalName, settingsInterface, "SettingChanged", portalPath, group,
                                       G_DBUS_SIGNAL_FLAGS_NONE, changed, nullptr, nullptr);
    for (const char* key : {schemeKey, accentKey})
        g_dbus_connection_call(sessionBus, portalName, portalPath, settingsInterface, "Read",
                               g_variant_new("(ss)", group, key), G_VARIANT_TYPE("(v)"), G_DBUS_CALL_FLAGS_NONE, -1,
                               nullptr, answered, const_cast<char*>(key));
}

void listenToAccentColor(std::function<void(const std::string&)> listener)
{
    accentListener = std::move(listener);
    if (accentListener)
        accentListener(accentColor);
}

}
