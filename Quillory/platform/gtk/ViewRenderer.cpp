#include "platform/gtk/ViewRenderer.h"

#include <glibmm/stringutils.h>
#include <gtkmm/box.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/icontheme.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/linkbutton.h>
#include <gtkmm/picture.h>
#include <gtkmm/separator.h>
#include <gtkmm/stylecontext.h>

#include <cmath>
#include <filesystem>

#include "platform/gtk/AccessibleName.h"
#include "platform/gtk/WebView.h"

namespace quillory::gtk {

namespace {

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
    return Glib::Ascii::dtostr(number);
}

void addStyle(Gtk::Widget& widget, const std::string& css)
{
    const auto provider = Gtk::CssProvider::create();
    provider->load_from_data(css);
    widget.get_style_context()->add_provider(provider, GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

void installTextStyles()
{
    static const auto provider = [] {
        auto styles = Gtk::CssProvider::create();
        styles->load_from_data(textStyles);
        Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), styles,
                                                    GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
        return styles;
    }();
}

void applyFont(Gtk::Widget& widget, const Font& font)
{
    widget.add_css_class(styleName(font.style));
    if (font.bold)
        widget.add_css_class("text-bold");
    if (font.monospaced)
        widget.add_css_class("text-monospaced");
    if (font.size)
        addStyle(widget,
                 "* { font-size: " + cssNumber(*font.size * pointsPerPixel)
                     + "pt; line-height: " + cssNumber(*font.size * pointsPerPixel * 13 / 12) + "pt; }");
}

std::unique_ptr<Gtk::Widget> renderText(const TextView& text)
{
    auto label = std::make_unique<Gtk::Label>(text.text);
    label->set_wrap(true);
    label->set_justify(Gtk::Justification::CENTER);
    label->set_halign(text.horizontalPadding > 0 ? Gtk::Align::FILL : Gtk::Align::CENTER);
    label->set_margin_start(pixels(text.horizontalPadding));
    label->set_margin_end(pixels(text.horizontalPadding));
    applyFont(*label, text.font);
    if (text.color == ColorRole::secondary)
        label->add_css_class("dim-label");
    return label;
}

// Null when the icon is nowhere to be had.
std::unique_ptr<Gtk::Widget> renderImage(const ImageView& image)
{
    const int size = pixels(image.size.width);
    const auto theme = Gtk::IconTheme::get_for_display(Gdk::Display::get_default());
    auto widget = std::make_unique<Gtk::Image>();
    std::error_code error;
    if (theme->has_icon(image.iconName))
        widget->set_from_icon_name(image.iconName);
    else if (std::filesystem::is_regular_file(image.file, error))
        widget->set(image.file);
    else
        return nullptr;
    widget->set_pixel_size(size);
    widget->set_halign(Gtk::Align::CENTER);
    setAccessibleName(*widget, image.accessibleName);
    return widget;
}

std::unique_ptr<Gtk::Widget> renderLink(const LinkView& link)
{
    auto button = std::make_unique<Gtk::LinkButton>(link.url, link.label);
    button->set_halign(Gtk::Align::CENTER);
    button->add_css_class("plain-link");
    applyFont(*button, link.font);
    return button;
}

std::unique_ptr<Gtk::Widget> renderBadge(const BadgeView& badge)
{
    auto label = std::make_unique<Gtk::Label>(badge.text);
    label->set_halign(Gtk::Align::CENTER);
    applyFont(*label, badge.font);
    addStyle(*label,
             "* { padding: " + cssNumber(badge.verticalPadding) + "px " + cssNumber(badge.horizontalPadding)
                 + "px; border-radius: " + cssNumber(badge.cornerRadius) + "px; background-color: rgba(128, 128, 128, "
                 + cssNumber(badge.greyOpacity) + "); }");
    setAccessibleName(*label, badge.accessibleName);
    return label;
}

std::unique_ptr<Gtk::Widget> renderSeparator(const SeparatorView& separator)
{
    auto line = std::make_unique<Gtk::Separator>(Gtk::Orientation::HORIZONTAL);
    line->set_margin_start(pixels(separator.horizontalPadding));
    line->set_margin_end(pixels(separator.horizontalPadding));
    return line;
}

std::unique_ptr<Gtk::Widget> renderSpacer()
{
    auto spacer = std::make_unique<Gtk::Box>();
    spacer->set_vexpand(true);
    return spacer;
}

std::unique_ptr<Gtk::Widget> renderStack(const StackView& stack)
{
    auto column = std::make_unique<Gtk::Box>(Gtk::Orientation::VERTICAL, pixels(stack.spacing));
    if (stack.fixedSize)
        column->set_size_request(pixels(stack.fixedSize->width), pixels(stack.fixedSize->height));
    // Unlike a margin, padding is part of the size.
    const auto padding = cssNumber(stack.verticalPadding) + "px";
    addStyle(*column, "* { padding-top: " + padding + "; padding-bottom: " + padding + "; }");
    for (const auto& child : stack.children) {
        if (auto widget = renderView(child).widget)
            column->append(*Gtk::manage(widget.release()));
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
