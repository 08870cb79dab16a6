#include "platform/gtk/window/ViewRenderer.h"

#include <array>
#include <cmath>
#include <map>

#include "platform/gtk/web/WebView.h"
#include "platform/gtk/window/AccessibleName.h"

namespace quillory::gtk {

namespace {

using Widget = GObjectPtr<GtkWidget>;

// In pixels at 96 dots per inch.
double usualSize(TextStyle style)
{
    switch (style) {
    case TextStyle::subheadline:
        return 11;
    case TextStyle::caption:
    case TextStyle::footnote:
        return 10;
    case TextStyle::body:
    case TextStyle::headline:
        break;
    }
    return 13;
}

// With a decimal point whatever the user's language.
std::string cssNumber(double number)
{
    std::array<char, G_ASCII_DTOSTR_BUF_SIZE> buffer {};
    return g_ascii_dtostr(buffer.data(), static_cast<int>(buffer.size()), number);
}

// Each set of rules becomes a class, which stays for the next widget that has them: there are only a few.
void addStyle(GtkWidget* widget, const std::string& rules)
{
    static std::map<std::string, std::string> classes;
    auto& name = classes[rules];
    if (name.empty()) {
        name = "rules-" + std::to_string(classes.size());
        const GObjectPtr<GtkCssProvider> styles(gtk_css_provider_new());
        gtk_css_provider_load_from_data(styles.get(), ("." + name + " { " + rules + " }").c_str(), -1);
        gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(styles.get()),
                                                   GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    }
    gtk_widget_add_css_class(widget, name.c_str());
}

void setHorizontalMargin(GtkWidget* widget, double margin)
{
    gtk_widget_set_margin_start(widget, pixels(margin));
    gtk_widget_set_margin_end(widget, pixels(margin));
}

// In points, 1/72 inch, which grow with the user's text scaling. Lines are as high as the font's size asks for whatever
// the font, so that a layout of fixed height holds with all of them.
std::string fontRules(const Font& font)
{
    constexpr double pointsPerPixel = 0.75;
    const double size = font.size.value_or(usualSize(font.style));
    const double line = std::round(size * 13 / 12);
    return "font-size: " + cssNumber(size * pointsPerPixel) + "pt; line-height: " + cssNumber(line * pointsPerPixel)
        + "pt;" + (font.bold || font.style == TextStyle::headline ? " font-weight: bold;" : "")
        + (font.monospaced ? " font-family: monospace;" : "");
}

Widget render(const TextView& text)
{
    auto label = sink(gtk_label_new(text.text.c_str()));
    gtk_label_set_wrap(GTK_LABEL(label.get()), TRUE);
    gtk_label_set_justify(GTK_LABEL(label.get()), GTK_JUSTIFY_CENTER);
    gtk_widget_set_halign(label.get(), text.horizontalPadding > 0 ? GTK_ALIGN_FILL : GTK_ALIGN_CENTER);
    setHorizontalMargin(label.get(), text.horizontalPadding);
    addStyle(label.get(), fontRules(text.font));
    if (text.color == ColorRole::secondary)
        gtk_widget_add_css_class(label.get(), "dim-label");
    return label;
}

// The toolkit would show a picture of its own for a file that it cannot decode.
bool canBeDecoded(const char* file)
{
    return GObjectPtr<GdkPixbuf>(gdk_pixbuf_new_from_file(file, nullptr)) != nullptr;
}

bool hasUsableIcon(GtkIconTheme* theme, const ImageView& image)
{
    if (gtk_icon_theme_has_icon(theme, image.iconName.c_str()) == 0)
        return false;
    const GObjectPtr<GtkIconPaintable> icon(gtk_icon_theme_lookup_icon(
        theme, image.iconName.c_str(), nullptr, pixels(image.size.width), 1, GTK_TEXT_DIR_NONE, GtkIconLookupFlags {}));
    const GObjectPtr<GFile> file(gtk_icon_paintable_get_file(icon.get()));
    const char* path = file ? g_file_peek_path(file.get()) : nullptr;
    return path == nullptr || canBeDecoded(path);
}

// Null when the icon is nowhere to be had.
Widget render(const ImageView& image)
{
    auto widget = sink(gtk_image_new());
    auto* picture = GTK_IMAGE(widget.get());
    if (hasUsableIcon(gtk_icon_theme_get_for_display(gdk_display_get_default()), image))
        gtk_image_set_from_icon_name(picture, image.iconName.c_str());
    else if (canBeDecoded(image.file.c_str()))
        gtk_image_set_from_file(picture, image.file.c_str());
    else
        return nullptr;
    gtk_image_set_pixel_size(picture, pixels(image.size.width));
    gtk_widget_set_halign(widget.get(), GTK_ALIGN_CENTER);
    setAccessibleName(widget.get(), image.accessibleName);
    return widget;
}

Widget render(const LinkView& link)
{
    auto button = sink(gtk_link_button_new_with_label(link.url.c_str(), link.label.c_str()));
    gtk_widget_set_halign(button.get(), GTK_ALIGN_CENTER);
    // There is room for the rule below the text.
    addStyle(button.get(),
             fontRules(link.font) + " line-height: 11.25pt; padding: 0; min-height: 0; min-width: 0; border: none;");
    return button;
}

Widget render(const BadgeView& badge)
{
    auto label = sink(gtk_label_new(badge.text.c_str()));
    gtk_widget_set_halign(label.get(), GTK_ALIGN_CENTER);
    addStyle(label.get(),
             fontRules(badge.font) + " padding: " + cssNumber(badge.verticalPadding) + "px "
                 + cssNumber(badge.horizontalPadding) + "px; border-radius: " + cssNumber(badge.cornerRadius)
                 + "px; background-color: rgba(128, 128, 128, " + cssNumber(badge.greyOpacity) + ");");
    setAccessibleName(label.get(), badge.accessibleName);
    return label;
}

Widget render(const SeparatorView& separator)
{
    auto line = sink(gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));
    setHorizontalMargin(line.get(), separator.horizontalPadding);
    return line;
}

Widget render(const SpacerView&)
{
    return sink(GTK_WIDGET(g_object_new(GTK_TYPE_BOX, "vexpand", TRUE, nullptr)));
}

Widget render(const StackView& stack)
{
    auto column = sink(gtk_box_new(GTK_ORIENTATION_VERTICAL, pixels(stack.spacing)));
    if (stack.fixedSize)
        gtk_widget_set_size_request(column.get(), pixels(stack.fixedSize->width), pixels(stack.fixedSize->height));
    // Unlike a margin, padding is part of the size.
    const auto padding = cssNumber(stack.verticalPadding) + "px";
    addStyle(column.get(), "padding-top: " + padding + "; padding-bottom: " + padding + ";");
    for (const auto& child : stack.children) {
        if (const auto widget = renderView(child).widget)
            gtk_box_append(GTK_BOX(column.get()), widget.get());
    }
    return column;
}

RenderedView render(const HostedWebView& hosted)
{
    auto webView = std::dynamic_pointer_cast<WebView>(hosted.makeView());
    auto widget = webView->makeWidget();
    return {std::move(widget), std::move(webView)};
}

}

RenderedView renderView(const View& view)
{
    return std::visit([](const auto& value) { return RenderedView {render(value)}; }, view);
}

}
