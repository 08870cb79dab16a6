#include "about/AboutView.h"

#include "about/MakerTexts.h"
#include "platform/Localization.h"

namespace quillory {

namespace {

constexpr Size frameSize {400, 550};
constexpr const char* iconName = "com.quillory.Quillory";

ImageView icon(const Bundle& bundle)
{
    const auto resources = bundle.resourceURL();
    return {iconName, resources ? (*resources / "icon.svg").string() : "", {128, 128}, localized("Quillory icon")};
}

SeparatorView separator()
{
    return {.horizontalPadding = 40};
}

StackView makerGroup()
{
    return {.spacing = 8,
            .children = {TextView {localized(maker::author)},
                         LinkView {localized(maker::websiteLabel), maker::websiteURL, {}},
                         LinkView {localized(maker::licenceLabel), maker::licenceURL, {}}}};
}

StackView hotkeyGroup()
{
    return {
        .spacing = 4,
        .children = {TextView {localized("Global Hotkey"), {.style = TextStyle::headline}},
                     BadgeView {.text = localized("⌘ ⇧ E"),
                                .accessibleName = localized("Command Shift E"),
                                .font = {.monospaced = true},
                                .horizontalPadding = 8,
                                .verticalPadding = 4,
                                .cornerRadius = 4,
                                .greyOpacity = 0.1},
                     TextView {localized("Brings app to front"), {.style = TextStyle::caption}, ColorRole::secondary}}};
}

StackView noticeGroup()
{
    return {.spacing = 4,
            .children = {TextView {localized(maker::notice), {.style = TextStyle::footnote}},
                         TextView {localized(maker::country), {.style = TextStyle::footnote}, ColorRole::secondary}}};
}

}

View AboutView::body() const
{
    StackView column {.spacing = 16, .verticalPadding = 24, .fixedSize = frameSize};
    auto& items = column.children;
    items.emplace_back(icon(m_bundle));
    items.emplace_back(TextView {localized("Quillory"), {.size = 24, .bold = true}});
    if (const auto version = m_bundle.version())
        items.emplace_back(
            TextView {localized("Version ") + *version, {.style = TextStyle::subheadline}, ColorRole::secondary});
    items.emplace_back(separator());
    items.emplace_back(makerGroup());
    items.emplace_back(separator());
    items.emplace_back(hotkeyGroup());
    items.emplace_back(separator());
    items.emplace_back(noticeGroup());
    items.emplace_back(separator());
    items.emplace_back(
        TextView {localized(maker::disclaimer), {.style = TextStyle::caption}, ColorRole::secondary, 20});
    items.emplace_back(SpacerView {});
    return column;
}

}
