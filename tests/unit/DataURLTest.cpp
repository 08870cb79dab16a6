#include "services/DataURL.h"

#include <gtest/gtest.h>

#include "DataURLCases.h"
#include "fake/PlainValue.h"
#include "support/StringBytes.h"

namespace quillory {

TEST(DataURL, DecodesStrictlyWhatFollowsTheFirstComma)
{
    for (const auto& [url, bytes] : dataURLCases)
        EXPECT_EQ(contents(decodeDataURLPayload(fake::PlainText(url)).get()), bytes) << url;
}

TEST(DataURL, EncodesEveryByteAndEachEndOfABlock)
{
    std::string all;
    for (int i = 0; i < 13'000; ++i)
        all += static_cast<char>(i * 7 + i / 256);
    for (const std::size_t length : {0, 1, 2, 3, 4, 5, 6143, 6144, 6145, 6146, 12'287, 12'288, 13'000}) {
        const auto bytes = all.substr(0, length);
        const DataURL url {"image/png", std::make_shared<StringBytes>(bytes)};
        std::string text;
        url.appendTo(text);
        EXPECT_TRUE(text.starts_with("data:image/png;base64,"));
        EXPECT_EQ(text.size(), url.textLength());
        EXPECT_EQ(contents(decodeDataURLPayload(fake::PlainText(text)).get()), bytes);
    }
}

}
