#pragma once

#include <string>
#include <string_view>

namespace quillory {

// Where the program says what it does: one event, one line. Main thread only.
class Log {
public:
    virtual ~Log() = default;
    // `text` is UTF-8 without a line feed at its end. It may hold what a page sent: a control character
    // in it is written as \n, \r, \t or \xNN, so that it stays one line.
    virtual void print(std::string_view text) = 0;
};

}
