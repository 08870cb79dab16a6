#pragma once

#include "platform/Log.h"

namespace quillory::posix {

// The text as one printable line of UTF-8: control characters, and bytes that are not UTF-8, are
// written as \n, \r, \t or \xNN.
std::string escapedLogLine(std::string_view text);

// Writes to standard output, each line at once. A reader that has gone is no reason to stop.
class StandardLog final : public Log {
public:
    void print(std::string_view text) override;
};

}
