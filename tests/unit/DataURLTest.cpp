#include "services/DataURL.h"

#include <gtest/gtest.h>

#include "fake/PlainValue.h"

namespace quillory {

TEST(DataURL, EncodesEveryByteAndEachEndOfABlock)
{
    std::string all;
    for (int i = 0; i < 13'000; ++i)
        all += static_cast<char>(i * 7 + i / 256);
    for (const std::size_t length : {0U, 1U, 2U, 3U, 4U, 5U, 6143U, 6144U, 6145U, 6146U, 12'287U, 12'288U, 13'000U}) {
        const auto bytes = all.substr(0, length);
        const DataURL url {"image/png", std::make_shared<StringBytes>(bytes)};
        std::string text;
        url.appendTo(text);
        const std::string_view head = "data:image/png;base64,";
        ASSERT_TRUE(text.starts_with(head));
        EXPECT_EQ(text.size(), url.textLength());
        EXPECT_EQ(fake::decodeBase64(text.substr(head.size())), bytes);
    }
}

}
