#include "about/AboutView.h"

#include <gmock/gmock.h>

#include <sstream>

#include "fake/FakePlatform.h"

namespace quillory {

namespace {

// One line for each item of a column, with its measures; groups in brackets.
std::string describe(const View& view)
{
    std::ostringstream line;
    if (const auto* text = std::get_if<TextView>(&view)) {
        line << text->text << (text->font.bold ? " bold" : "");
        if (text->font.size)
            line << " of " << *text->font.size;
        if (text->horizontalPadding != 0)
            line << " between " << text->horizontalPadding;
    } else if (const auto* link = std::get_if<LinkView>(&view)) {
        line << "link " << link->url;
    } else if (const auto* badge = std::get_if<BadgeView>(&view)) {
        line << "badge " << badge->text << (badge->font.monospaced ? " monospaced " : " ") << badge->horizontalPadding
             << "x" << badge->verticalPadding << " round " << badge->cornerRadius << " grey " << badge->greyOpacity;
    } else if (const auto* separator = std::get_if<SeparatorView>(&view)) {
        line << "separator " << separator->horizontalPadding;
    } else if (const auto* image = std::get_if<ImageView>(&view)) {
        line << "icon " << image->size.width << "x" << image->size.height;
    } else if (const auto* stack = std::get_if<StackView>(&view)) {
        line << stack->spacing;
        for (const auto& child : stack->children)
            line << "[" << describe(child) << "]";
    } else {
        line << "spacer";
    }
    return line.str();
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
    using testing::ContainsRegex;
    EXPECT_THAT(
        items(platform),
        testing::ElementsAre("icon 128x128", "Quillory bold of 24", "Version 1.0 (1)", "separator 40",
                             ContainsRegex("^8\\[.*\\[link https://"), "separator 40",
                             "4[Global Hotkey][badge ⌘ ⇧ E monospaced 8x4 round 4 grey 0.1][Brings app to front]",
                             "separator 40", ContainsRegex("^4\\[.*©"), "separator 40",
                             ContainsRegex("warranty.* between 20$"), "spacer"));
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
