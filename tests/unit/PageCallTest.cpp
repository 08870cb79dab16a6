#include "web/PageCall.h"

#include <gtest/gtest.h>

#include "fake/PlainValue.h"

namespace quillory::web {

TEST(PageCall, EscapesWhatASingleQuotedLiteralCannotHold)
{
    const std::pair<std::string, std::string> cases[] = {
        {"", ""},
        {"it's", R"(it\'s)"},
        {R"(\')", R"(\\\')"},
        {R"(\n)", R"(\\n)"},
        {"one\ntwo\r\nthree", R"(one\ntwo\r\nthree)"},
        {"\n\n", R"(\n\n)"},
        {"\"quoted\"\t\x01", "\"quoted\"\t\x01"},
        {"\xE2\x80\xA8 \xF0\x9F\x96\x8A", "\xE2\x80\xA8 \xF0\x9F\x96\x8A"},
        {{"a\0'b", 4}, {"a\0\\'b", 5}},
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

TEST(PageCall, EncodesAnImageInOneBufferOfItsSize)
{
    std::string all;
    for (int i = 0; i < 13'000; ++i)
        all += static_cast<char>(i * 7 + i / 256);
    for (const std::size_t length : {0U, 1U, 2U, 3U, 4U, 5U, 6143U, 6144U, 6145U, 6146U, 12'287U, 12'288U, 13'000U}) {
        const auto image = std::make_shared<StringBytes>(all.substr(0, length));
        const auto script = scriptForDataURL(imageCall, {"image/png", image});
        EXPECT_EQ(script.size(), script.capacity());
        const std::string_view head = "window.handleNativeImageContent('data:image/png;base64,";
        ASSERT_TRUE(script.starts_with(head) && script.ends_with("');"));
        const auto bytes = fake::decodeBase64(script.substr(head.size(), script.size() - head.size() - 3));
        EXPECT_TRUE(bytes && std::ranges::equal(bytes->span(), image->span())) << length;
    }
}

}
