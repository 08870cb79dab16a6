#include "platform/gtk/web/ScriptQueue.h"

#include <gtest/gtest.h>
#include <jsc/jsc.h>

#include "platform/glib/GObjectPtr.h"

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

TEST(ScriptQueue, CutsNoEscapeAndNoCharacterInTwo)
{
    const GObjectPtr<JSCContext> context(jsc_context_new());
    const auto value = [&](std::string_view literal) {
        const auto script = "'" + std::string(literal) + "'";
        const GObjectPtr<::JSCValue> result(
            jsc_context_evaluate(context.get(), script.c_str(), static_cast<gssize>(script.size())));
        const GStringPtr text(jsc_value_to_string(result.get()));
        return std::string(text.get());
    };
    const std::string text = R"(a\\\\\'\n\\n\\\r)"
                             "\xC3\xA4\xE2\x80\xA8\xF0\x9F\x96\x8A"
                             R"(\\\\\\x\'y\'\')";
    for (std::size_t limit = 1; limit <= text.size() + 1; ++limit) {
        std::string joined;
        for (std::string_view rest = text; !rest.empty();) {
            const auto length = literalPieceLength(rest, limit);
            ASSERT_GT(length, 0U);
            // A limit that is shorter than the longest character or escape may have to give way.
            ASSERT_LE(length, limit >= 4 ? limit : text.size());
            joined += value(rest.substr(0, length));
            rest.remove_prefix(length);
        }
        EXPECT_EQ(joined, value(text)) << limit;
    }
}

}
