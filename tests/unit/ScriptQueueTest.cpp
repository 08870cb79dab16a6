#include "platform/gtk/web/ScriptQueue.h"

#include <gtest/gtest.h>

namespace quillory::gtk {

TEST(ScriptQueue, TakesApartOnlyACallWithOneLiteral)
{
    const struct {
        std::string script;
        std::optional<std::string> text;
    } cases[] = {
        {"window.call('');", ""},
        {"window.call('a');", "a"},
        {R"(window.call('it\'s \\');)", R"(it\'s \\)"},
        {"", std::nullopt},
        {"call(1);", std::nullopt},
        {"call('a')", std::nullopt},
        {"');", std::nullopt},
        {"call('a', 'b');", std::nullopt},
        {"call('a'); call('b');", std::nullopt},
        // The apostrophe at the end belongs to the text.
        {R"(call('a\');)", std::nullopt},
        {R"(call('a\\'b');)", std::nullopt},
    };
    for (const auto& [script, text] : cases) {
        const auto call = literalCall(script);
        ASSERT_EQ(call.has_value(), text.has_value()) << script;
        if (!call)
            continue;
        EXPECT_EQ(call->text, *text);
        EXPECT_EQ(std::string(call->head) + "'" + std::string(call->text) + "'" + std::string(call->tail), script);
    }
}

}
