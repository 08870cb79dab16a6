#include "about/AboutView.h"

#include <gmock/gmock.h>

#include "fake/FakePlatform.h"

namespace quillory {

namespace {

// One line for each item of a column, groups in brackets.
std::string describe(const View& view)
{
    if (const auto* text = std::get_if<TextView>(&view))
        return text->text;
    if (const auto* link = std::get_if<LinkView>(&view))
        return "link " + link->url;
    if (const auto* badge = std::get_if<BadgeView>(&view))
        return "badge " + badge->text;
    if (const auto* separator = std::get_if<SeparatorView>(&view))
        return "separator " + std::to_string(static_cast<int>(separator->horizontalPadding));
    if (std::holds_alternative<ImageView>(view))
        return "icon";
    if (std::holds_alternative<SpacerView>(view))
        return "spacer";
    std::string group;
    for (const auto& child : std::get<StackView>(view).children)
        group += "[" + describe(child) + "]";
    return group;
}

std::vector<std::string> items(const fake::FakePlatform& platform)
{
    const auto view = AboutView(platform).body();
    const auto& column = std::get<StackView>(view);
    EXPECT_EQ(column.spacing, 16);
    EXPECT_EQ(column.verticalPadding, 24);
    EXPECT_EQ(column.fixedSize, (Size {400, 550}));
    std::vector<std::string> lines;
    for (const auto& child : column.children)
        lines.push_back(describe(child));
    return lines;
}

}

TEST(AboutView, ShowsItsItemsFromTopToBottom)
{
    fake::FakePlatform platform;
    platform.info = {{"CFBundleShortVersionString", "1.0"}, {"CFBundleVersion", "1"}};
    using testing::HasSubstr;
    EXPECT_THAT(items(platform),
                testing::ElementsAre("icon", "Quillory", "Version 1.0 (1)", "separator 40", HasSubstr("[link https://"),
                                     "separator 40", "[Global Hotkey][badge ⌘ ⇧ E][Brings app to front]",
                                     "separator 40", HasSubstr("©"), "separator 40", HasSubstr("warranty"), "spacer"));
}

TEST(AboutView, LeavesOutAVersionLineThatWouldNotBeComplete)
{
    fake::FakePlatform platform;
    for (const char* key : {"CFBundleShortVersionString", "CFBundleVersion", "CFBundleIdentifier"}) {
        platform.info = {{key, "1"}};
        EXPECT_EQ(items(platform).size(), 11U);
        EXPECT_EQ(items(platform).at(2), "separator 40");
    }
}

}
