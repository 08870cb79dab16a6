#include "about/AboutView.h"

#include <gmock/gmock.h>

#include <sstream>

#include "fake/FakePlatform.h"

namespace quillory {

namespace {

// What a view says of itself, with its measures; what a stack holds in brackets.
std::string describe(const View& view)
{
    std::ostringstream line;
    const auto describeItem = [&](const auto& item) {
        if constexpr (requires { item.text; })
            line << item.text << (item.font.bold ? " bold" : "") << (item.font.monospaced ? " monospaced" : "")
                 << " of " << item.font.size.value_or(0);
        if constexpr (requires { item.url; })
            line << item.url;
        if constexpr (requires { item.iconName; })
            line << item.iconName << " " << fake::text(item.size);
        if constexpr (requires { item.horizontalPadding; })
            line << " between " << item.horizontalPadding;
        if constexpr (requires { item.greyOpacity; })
            line << " and " << item.verticalPadding << " round " << item.cornerRadius << " grey " << item.greyOpacity;
        if constexpr (requires { item.children; }) {
            line << item.spacing << " apart" << (item.fixedSize ? " in " + fake::text(*item.fixedSize) : "");
            for (const auto& child : item.children)
                line << "[" << describe(child) << "]";
        }
    };
    std::visit(describeItem, view);
    return line.str();
}

}

TEST(AboutView, ShowsItsItemsFromTopToBottom)
{
    fake::FakePlatform platform;
    platform.info = {{"CFBundleShortVersionString", "1.0"}, {"CFBundleVersion", "1"}};
    const auto view = AboutView(platform).body();
    EXPECT_EQ(std::get<StackView>(view).verticalPadding, 24);
    EXPECT_THAT(describe(view),
                testing::MatchesRegex(
                    R"(16 apart in 400x550\[com\.quillory\.Quillory 128x128\]\[Quillory bold of 24 between 0\])"
                    R"(\[Version 1\.0 \(1\) of 0 between 0\]\[ between 40\])"
                    R"(\[8 apart\[[^[]* of 0 between 0\]\[https://[^[]*\]\[https://[^[]*\]\]\[ between 40\])"
                    R"(\[4 apart\[Global Hotkey of 0 between 0\])"
                    R"(\[⌘ ⇧ E monospaced of 0 between 8 and 4 round 4 grey 0\.1\])"
                    R"(\[Brings app to front of 0 between 0\]\]\[ between 40\])"
                    R"(\[4 apart\[[^[]*©[^[]*\]\[[^[]*\]\]\[ between 40\]\[[^[]*warranty[^[]* between 20\]\[\])"));

    // A version line that would not be complete is not there at all.
    for (const char* key : {"CFBundleShortVersionString", "CFBundleVersion", "CFBundleIdentifier"}) {
        platform.info = {{key, "1"}};
        EXPECT_THAT(describe(AboutView(platform).body()),
                    testing::HasSubstr("[Quillory bold of 24 between 0][ between 40]"));
    }
}

}
