#include "QuilloryApp/CommandLine.h"

#include <string_view>

#include "platform/Localization.h"
#include "platform/posix/StandardLog.h"

namespace quillory {

namespace {

constexpr int usageError = 2;

std::string help()
{
    return localized("Usage: quillory [--help | --version]\n\n"
                     "Edits drawings on a canvas and exports them as PNG, JPEG and PDF.\n"
                     "A second launch brings the window of the first to the front and ends.\n\n"
                     "  --help     shows this help and ends\n"
                     "  --version  shows the version and ends\n\n"
                     "Exit status: 0 after a normal run and after a hand-over to a running Quillory,\n"
                     "1 when there is no display to open a window on, 2 for a wrong command line.\n");
}

std::string versionLine(const Bundle& bundle)
{
    const auto version = bundle.version();
    return version ? "Quillory " + *version + "\n" : "Quillory\n";
}

CommandLineAnswer unexpected(std::string_view argument)
{
    const auto shown = posix::escapedLogLine(argument);
    return {usageError, "quillory: " + localized("unexpected argument “{}”; try “quillory --help”", shown) + "\n"};
}

}

std::optional<CommandLineAnswer> answerCommandLine(std::span<const char* const> arguments, const Bundle& bundle)
{
    if (arguments.empty())
        return std::nullopt;
    const std::string_view first = arguments.front();
    if (first != "--help" && first != "--version")
        return unexpected(first);
    if (arguments.size() > 1)
        return unexpected(arguments[1]);
    return CommandLineAnswer {0, first == "--help" ? help() : versionLine(bundle)};
}

}
