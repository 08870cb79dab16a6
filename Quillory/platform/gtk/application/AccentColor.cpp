#include "platform/gtk/application/AccentColor.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <array>
#include <utility>

#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

namespace {

// What the toolkit's own theme has in its own blue, of the parts that the program's windows have.
constexpr const char* rules = R"(
menubar > item:hover, menubar > item:selected {
  box-shadow: inset 0 -3px @desktop_accent;
  color: mix(@desktop_accent, @theme_fg_color, 0.5);
}
link, button.link, button.link > label { color: mix(@desktop_accent, @theme_fg_color, 0.5); }
:focus-visible { outline-color: alpha(@desktop_accent, 0.6); }
)";

std::string current;
std::function<void(const std::string&)> listening;

GtkCssProvider* styles()
{
    static const auto provider = [] {
        GObjectPtr<GtkCssProvider> made(gtk_css_provider_new());
        gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(made.get()),
                                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        return made;
    }();
    return provider.get();
}

std::string cssColor(const std::array<double, 3>& parts)
{
    if (!std::ranges::all_of(parts, [](double part) { return part >= 0 && part <= 1; }))
        return {};
    const GdkRGBA color {static_cast<float>(parts[0]), static_cast<float>(parts[1]), static_cast<float>(parts[2]), 1};
    const GStringPtr text(gdk_rgba_to_string(&color));
    return {text.get()};
}

}

void setAccentColor(double red, double green, double blue)
{
    auto color = cssColor({red, green, blue});
    if (color == current)
        return;
    current = std::move(color);
    const auto css = current.empty() ? current : "@define-color desktop_accent " + current + ";" + rules;
    gtk_css_provider_load_from_data(styles(), css.c_str(), -1);
    if (listening)
        listening(current);
}

void listenToAccentColor(std::function<void(const std::string&)> listener)
{
    listening = std::move(listener);
    if (listening)
        listening(current);
}

}
