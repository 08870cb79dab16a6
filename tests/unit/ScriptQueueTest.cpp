#include "platform/gtk/web/ScriptQueue.h"

#include <gtest/gtest.h>

namespace quillory::gtk {

// What it takes apart, and into what, the fuzz target shows.
TEST(ScriptQueue, TakesApartOnlyACallWithOneLiteral)
{
    // In the end an apostrophe that belongs to the text.
    for (const char* script : {"", "call(1);", "call('a')", "');", "call('a', 'b');", "call('a'); call('b');",
                               R"(call('a\\'b');)", R"(call('a\');)"})
        EXPECT_FALSE(literalCall(script)) << script;
}

}
