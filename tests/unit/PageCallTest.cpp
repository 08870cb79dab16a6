#include "web/PageCall.h"

#include <gtest/gtest.h>

#include "support/StringBytes.h"

namespace quillory::web {

TEST(PageCall, EscapesWhatASingleQuotedLiteralCannotHold)
{
    const struct {
        std::string text;
        std::string literal;
    } cases[] = {
        {"", ""},
        {"it's", R"(it\'s)"},
        {R"(\')", R"(\\\')"},
        {R"(\n)", R"(\\n)"},
        {"one\ntwo\r\nthree", R"(one\ntwo\r\nthree)"},
        {"\n\n", R"(\n\n)"},
        {"\"quoted\"\t\x01", "\"quoted\"\t\x01"},
        {"\xE2\x80\xA8 \xF0\x9F\x96\x8A", "\xE2\x80\xA8 \xF0\x9F\x96\x8A"},
        {std::string("a\0'b", 4), std::string("a\0\\'b", 5)},
    };
    for (const auto& [text, literal] : cases) {
        EXPECT_EQ(scriptForText(fileContentCall, text), "window.handleNativeFileContent('" + literal + "');");
        EXPECT_EQ(scriptForText(pasteContentCall, text), "window.handleNativePasteContent('" + literal + "');");
    }
}

TEST(PageCall, BuildsAScriptInTheBufferOfItsText)
{
    std::string text(100'000, '\'');
    text.reserve(300'000);
    const auto* buffer = text.data();
    const auto script = scriptForText(fileContentCall, std::move(text));
    // cppcheck-suppress mismatchingContainers ; that they are not different is what is tested
    EXPECT_TRUE(script.data() == buffer);
}

TEST(PageCall, BuildsAScriptForAnImageInOneBufferOfItsSize)
{
    const std::string image(100'000, 'x');
    const auto script = scriptForDataURL(imageCall, {"image/png", std::make_shared<StringBytes>(image)});
    EXPECT_EQ(script.size(), script.capacity());
}

}
