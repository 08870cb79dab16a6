#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/Screen.h"

namespace quillory {

class WebView;

// Views are values that say what a window shows; a toolkit's renderer makes widgets of them.
// Lengths are logical pixels. Texts are shown as they are: whoever makes the value translates them.

enum class TextStyle { body, headline, subheadline, caption, footnote };
enum class ColorRole { primary, secondary };

struct Font {
    TextStyle style = TextStyle::body;
    std::optional<double> size {}; // instead of the style's own
    bool bold = false;
    bool monospaced = false;

    bool operator==(const Font&) const = default;
};

// Wraps where its room ends, lines centred.
struct TextView {
    std::string text {};
    Font font {};
    ColorRole color = ColorRole::primary;
    double horizontalPadding = 0;
};

// The application's icon, stretched to `size`. `file` is where the icon is found when the desktop's
// icon theme does not have `iconName`.
struct ImageView {
    std::string iconName {};
    std::string file {};
    Size size {};
    std::string accessibleName {};
};

// Opens `url` in the user's default browser.
struct LinkView {
    std::string label {};
    std::string url {};
    Font font {};
};

// Text on a rounded patch of translucent grey, as keys are drawn. A screen reader says
// `accessibleName` instead of the symbols.
struct BadgeView {
    std::string text {};
    std::string accessibleName {};
    Font font {};
    double horizontalPadding = 0;
    double verticalPadding = 0;
    double cornerRadius = 0;
    double greyOpacity = 0;
};

struct SeparatorView {
    double horizontalPadding = 0;
};

// Takes the height that the others leave.
struct SpacerView { };

// A platform web view. `makeView` is called once, when the view is rendered; the window's widget
// hierarchy then owns what it returned.
struct HostedWebView {
    std::function<std::shared_ptr<WebView>()> makeView;
};

struct StackView;

using View =
    std::variant<TextView, ImageView, LinkView, BadgeView, SeparatorView, SpacerView, HostedWebView, StackView>;

// Children from top to bottom, each centred.
struct StackView {
    double spacing = 0;
    double verticalPadding = 0;
    std::optional<Size> fixedSize {};
    std::vector<View> children {};
};

// What a window shows: one view, which fills the content area and never gets smaller than `minSize`.
struct FramedView {
    View view;
    Size minSize;
};

}
