#include "platform/posix/StandardLog.h"

#include <cstdio>

#include "support/UTF8.h"

namespace quillory::posix {

namespace {

void appendEscaped(std::string& line, unsigned char character)
{
    constexpr std::string_view digits = "0123456789abcdef";
    line += '\\';
    if (const auto known = std::string_view("\n\r\t").find(static_cast<char>(character));
        known != std::string_view::npos) {
        line += "nrt"[known];
    } else {
        line += 'x';
        line += digits[character >> 4];
        line += digits[character & 0xF];
    }
}

bool isControl(unsigned char character)
{
    return character < 0x20 || character == 0x7F;
}

// U+0080 to U+009F are control characters of two bytes: the first is always this one.
constexpr unsigned char c1Lead = 0xC2;

}

std::string escapedLogLine(std::string_view text)
{
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const auto valid = validUTF8Prefix(text);
        for (std::size_t i = 0; i < valid; ++i) {
            const auto character = static_cast<unsigned char>(text[i]);
            if (isControl(character)) {
                appendEscaped(line, character);
            } else if (character == c1Lead && static_cast<unsigned char>(text[i + 1]) < 0xA0) {
                appendEscaped(line, static_cast<unsigned char>(text[++i]));
            } else {
                line += text[i];
            }
        }
        text.remove_prefix(valid);
        if (!text.empty()) {
            appendEscaped(line, static_cast<unsigned char>(text.front()));
            text.remove_prefix(1);
        }
    }
    return line;
}

void StandardLog::print(std::string_view text)
{
    const auto line = escapedLogLine(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

}
