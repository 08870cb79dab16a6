#include "QuilloryApp/CommandLine.h"

#include <gmock/gmock.h>

#include "fake/FakePlatform.h"

namespace quillory {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

TEST(CommandLine, AnswersOrLeavesTheProgramToRun)
{
    fake::FakePlatform platform;
    platform.info = {{"CFBundleShortVersionString", "2.1"}, {"CFBundleVersion", "37"}};
    EXPECT_EQ(answerCommandLine({}, platform), std::nullopt);

    const std::tuple<std::vector<const char*>, int, testing::Matcher<std::string>> cases[] = {
        {{"--version"}, 0, "Quillory 2.1 (37)\n"},
        {{"--help"}, 0, AllOf(HasSubstr("Usage: quillory"), HasSubstr("--version"), HasSubstr("Exit status"))},
        {{"--bogus"}, 2, HasSubstr("“--bogus”")},
        {{"-h"}, 2, HasSubstr("“-h”")},
        {{""}, 2, HasSubstr("“”")},
        {{"--"}, 2, HasSubstr("“--”")},
        {{"drawing.json", "--help"}, 2, HasSubstr("“drawing.json”")},
        {{"--help", "--version"}, 2, HasSubstr("“--version”")},
        {{"--version", "more"}, 2, AllOf(HasSubstr("“more”"), Not(HasSubstr("2.1")))},
        {{"a\nb\x1b[31m\xff"}, 2, HasSubstr(R"(“a\nb\x1b[31m\xff”)")},
    };
    for (const auto& [arguments, status, text] : cases) {
        const auto answer = answerCommandLine(arguments, platform);
        ASSERT_TRUE(answer) << arguments.front();
        EXPECT_EQ(answer->status, status) << arguments.front();
        EXPECT_THAT(answer->text, text);
        const auto lines = std::count(answer->text.begin(), answer->text.end(), '\n');
        EXPECT_EQ(lines > 1, std::string_view(arguments.front()) == "--help" && status == 0) << answer->text;
    }
    // No incomplete version is shown.
    platform.info.erase("CFBundleVersion");
    EXPECT_EQ(answerCommandLine(std::get<0>(cases[0]), platform)->text, "Quillory\n");
}

}
