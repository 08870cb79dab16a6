#include "web/PageCall.h"

#include <gtest/gtest.h>

#include "fake/FakePlatform.h"
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
        EXPECT_EQ(fake::whole(scriptForText(fileContentCall, text)),
                  "window.handleNativeFileContent('" + literal + "');");
        EXPECT_EQ(fake::whole(scriptForText(pasteContentCall, text)),
                  "window.handleNativePasteContent('" + literal + "');");
    }
}

TEST(PageCall, CutsNoCharacterInTwo)
{
    const auto script = scriptForText(fileContentCall, "ä日🖊'x", 1);
    for (const std::string escaped : {"ä", "日", "🖊", "\\'", "x"}) {
        std::string piece;
        EXPECT_EQ(script.appendNext(piece), escaped != "x");
        EXPECT_EQ(piece, escaped);
    }
}

TEST(PageCall, EncodesAnImageInPieces)
{
    std::string all(2 * usualPiece + 1, 'x');
    for (std::size_t i = 0; i < 13'000; ++i)
        all[i] = static_cast<char>(i * 7 + i / 256);
    for (const std::size_t length :
         {0U, 1U, 2U, 3U, 4U, 5U, 6143U, 6144U, 6145U, 6146U, 12'288U, 13'000U, 1'572'865U}) {
        const auto script =
            scriptForDataURL(imageCall, {"image/png", std::make_shared<StringBytes>(all.substr(0, length))});
        std::string text;
        std::size_t pieces = 1;
        for (; script.appendNext(text); ++pieces) { }
        EXPECT_EQ(pieces, length > usualPiece ? 3 : 1);
        const std::string_view head = "data:image/png;base64,";
        ASSERT_TRUE(text.starts_with(head));
        const auto bytes = fake::decodeBase64(text.substr(head.size()));
        const StringBytes image(all.substr(0, length));
        EXPECT_TRUE(bytes && std::ranges::equal(bytes->span(), image.span())) << length;
    }
}

}
