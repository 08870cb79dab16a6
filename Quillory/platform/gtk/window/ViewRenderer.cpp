#include "platform/gtk/window/ViewRenderer.h"

#include <array>
#include <cmath>
#include <filesystem>
#include <map>

#include "platform/gtk/web/WebView.h"
#include "platform/gtk/window/AccessibleName.h"

namespace quillory::gtk {

namespace {

using Widget = GObjectPtr<GtkWidget>;

template<typename... Visitors> struct Overloaded : Visitors... {
    using Visitors::operator()...;
};
// Older compilers do not find this out by themselves.
template<typename... Visitors> Overloaded(Visitors...) -> Overloaded<Visitors...>;

int pixels(double length)
{
    return static_cast<int>(std::lround(length));
}

const char* styleName(TextStyle style)
{
    switch (style) {
    case TextStyle::body:
        return "text-body";
    case TextStyle::headline:
        return "text-headline";
    case TextStyle::subheadline:
        return "text-subheadline";
    case TextStyle::caption:
        return "text-caption";
    case TextStyle::footnote:
        return "text-footnote";
    }
    return "text-body";
}

// Sizes are in points, 1/72 inch: they are 13, 11 and 10 pixels at 96 dots per inch and grow with the
// user's text scaling. Lines are 14, 12 and 11 pixels high whatever the font, so that a layout of fixed
// height holds with all of them; those of links have room for the rule below the text.
constexpr const char* textStyles = R"(
.text-body { font-size: 9.75pt; line-height: 10.5pt; }
.text-headline { font-size: 9.75pt; line-height: 10.5pt; font-weight: bold; }
.text-subheadline { font-size: 8.25pt; line-height: 9pt; }
.text-caption, .text-footnote { font-size: 7.5pt; line-height: 8.25pt; }
.text-bold { font-weight: bold; }
.text-monospaced { font-family: monospace; }
.plain-link { line-height: 11.25pt; padding: 0; min-height: 0; min-width: 0; border: none; }
)";

constexpr double pointsPerPixel = 0.75;

// With a decimal point whatever the user's language.
std::string cssNumber(double number)
{
    std::array<char, G_ASCII_DTOSTR_BUF_SIZE> buffer {};
    return g_ascii_dtostr(buffer.data(), static_cast<int>(buffer.size()), number);
}

void addStyles(const char* css)
{
    GObjectPtr<GtkCssProvider> styles(gtk_css_provider_new());
    gtk_css_provider_load_from_data(styles.get(), css, -1);
    gtk_style_context_add_provider_for_display(gdk_display_get_default(), GTK_STYLE_PROVIDER(styles.get()),
                                               GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

// Each set of rules becomes a class, which stays for the next widget that has them: there are only a few.
void addStyle(GtkWidget* widget, const std::string& rules)
{
    static std::map<std::string, std::string> classes;
    auto& name = classes[rules];
    if (name.empty()) {
        name = "rules-" + std::to_string(classes.size());
        addStyles(("." + name + " { " + rules + " }").c_str());
    }
    gtk_widget_add_css_class(widget, name.c_str());
}

void installTextStyles()
{
    [[maybe_unused]] static const bool isInstalled = (addStyles(textStyles), true);
}

void setHorizontalMargin(GtkWidget* widget, double margin)
{
    gtk_widget_set_margin_start(widget, pixels(margin));
    gtk_widget_set_margin_end(widget, pixels(margin));
}

void applyFont(GtkWidget* widget, const Font& font)
{
    gtk_widget_add_css_class(widget, styleName(font.style));
    if (font.bold)
        gtk_widget_add_css_class(widget, "text-bold");
    if (font.monospaced)
        gtk_widget_add_css_class(widget, "text-monospaced");
    if (font.size)
        addStyle(widget,
                 "font-size: " + cssNumber(*font.size * pointsPerPixel)
                     + "pt; line-height: " + cssNumber(*font.size * pointsPerPixel * 13 / 12) + "pt;");
}

Widget renderText(const TextView& text)
{
    auto label = sink(gtk_label_new(text.text.c_str()));
    gtk_label_set_wrap(GTK_LABEL(label.get()), TRUE);
    gtk_label_set_justify(GTK_LABEL(label.get()), GTK_JUSTIFY_CENTER);
    gtk_widget_set_halign(label.get(), text.horizontalPadding > 0 ? GTK_ALIGN_FILL : GTK_ALIGN_CENTER);
    setHorizontalMargin(label.get(), text.horizontalPadding);
    applyFont(label.get(), text.font);
    if (text.color == ColorRole::secondary)
        gtk_widget_add_css_class(label.get(), "dim-label");
    return label;
}

// The toolkit would show a picture of its own for a file that it cannot decode.
bool canBeDecoded(const char* file)
{
    return GObjectPtr<GdkPixbuf>(gdk_pixbuf_new_from_file_at_size(file, 16, 16, nullptr)) != nullptr;
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
Widget renderImage(const ImageView& image)
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

Widget renderLink(const LinkView& link)
{
    auto button = sink(gtk_link_button_new_with_label(link.url.c_str(), link.label.c_str()));
    gtk_widget_set_halign(button.get(), GTK_ALIGN_CENTER);
    gtk_widget_add_css_class(button.get(), "plain-link");
    applyFont(button.get(), link.font);
    return button;
}

Widget renderBadge(const BadgeView& badge)
{
    auto label = sink(gtk_label_new(badge.text.c_str()));
    gtk_widget_set_halign(label.get(), GTK_ALIGN_CENTER);
    applyFont(label.get(), badge.font);
    addStyle(label.get(),
             "padding: " + cssNumber(badge.verticalPadding) + "px " + cssNumber(badge.horizontalPadding)
                 + "px; border-radius: " + cssNumber(badge.cornerRadius) + "px; background-color: rgba(128, 128, 128, "
                 + cssNumber(badge.greyOpacity) + ");");
    setAccessibleName(label.get(), badge.accessibleName);
    return label;
}

Widget renderSeparator(const SeparatorView& separator)
{
    auto line = sink(gtk_separator_new(GTK_ORIENTATION_HORIZONTAL));
    setHorizontalMargin(line.get(), separator.horizontalPadding);
    return line;
}

Widget renderSpacer()
{
    auto spacer = sink(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0));
    gtk_widget_set_vexpand(spacer.get(), TRUE);
    return spacer;
}

Widget renderStack(const StackView& stack)
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

RenderedView renderWebView(const HostedWebView& hosted)
{
    auto webView = std::dynamic_pointer_cast<WebView>(hosted.makeView());
    auto widget = webView->makeWidget();
    return {std::move(widget), std::move(webView)};
}

}

RenderedView renderView(const View& view)
{
    installTextStyles();
    return std::visit(Overloaded {[](const TextView& text) {
                                      return RenderedView {renderText(text), nullptr};
                                  },
                                  [](const ImageView& image) {
                                      return RenderedView {renderImage(image), nullptr};
                                  },
                                  [](const LinkView& link) {
                                      return RenderedView {renderLink(link), nullptr};
                                  },
                                  [](const BadgeView& badge) {
                                      return RenderedView {renderBadge(badge), nullptr};
                                  },
                                  [](const SeparatorView& line) {
                                      return RenderedView {renderSeparator(line), nullptr};
                                  },
                                  [](const SpacerView&) {
                                      return RenderedView {renderSpacer(), nullptr};
                                  },
                                  [](const HostedWebView& hosted) { return renderWebView(hosted); },
                                  [](const StackView& stack) {
                                      return RenderedView {renderStack(stack), nullptr};
                                  }},
                      view);
}

}
