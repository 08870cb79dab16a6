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

TEST(DataURL, EncodesEveryLengthAndEveryByte)
{
    std::string bytes;
    for (int i = 0; i < 300; ++i) {
        const DataURL url {"image/png", std::make_shared<StringBytes>(bytes)};
        std::string text;
        url.appendTo(text);
        EXPECT_TRUE(text.starts_with("data:image/png;base64,"));
        EXPECT_EQ(text.size(), url.textLength());
        EXPECT_EQ(contents(decodeDataURLPayload(fake::PlainText(text)).get()), bytes);
        bytes += static_cast<char>(i * 7);
    }
}

}
