#pragma once

#include <optional>
#include <span>
#include <string>

#include "platform/Bundle.h"

namespace quillory {

// What the program says to its command line instead of running.
struct CommandLineAnswer {
    int status; // 0, or 2 when the command line is wrong
    std::string text; // for standard output, or for standard error when the command line is wrong
};

// `arguments` are those after the program's name. None: the program is to run.
std::optional<CommandLineAnswer> answerCommandLine(std::span<const char* const> arguments, const Bundle& bundle);

}
