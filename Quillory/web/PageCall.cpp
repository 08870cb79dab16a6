#include "web/PageCall.h"

#include <algorithm>
#include <array>

namespace quillory::web {

namespace {

constexpr std::string_view suffix = "');";

// The letter that stands for each character behind a backslash, 0 for one that needs none.
constexpr auto escapeLetters = [] {
    std::array<char, 256> letters {};
    letters['\\'] = '\\';
    letters['\''] = '\'';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    return letters;
}();

constexpr char escapeLetter(char character)
{
    return escapeLetters[static_cast<unsigned char>(character)];
}

}

void escapeForSingleQuotedScript(std::string& text, std::string_view before, std::string_view after)
{
    std::size_t escapes = 0;
    for (const char character : text)
        escapes += escapeLetter(character) != 0;

    // From the end to the start, so that what is written never overtakes what is still to be read.
    const auto length = text.size();
    text.resize(before.size() + length + escapes + after.size());
    const char* in = text.data() + length;
    char* out = std::copy_backward(after.begin(), after.end(), text.data() + text.size());
    while (in != text.data()) {
        const char character = *--in;
        const char letter = escapeLetter(character);
        *--out = letter != 0 ? letter : character;
        if (letter != 0)
            *--out = '\\';
    }
    std::copy_backward(before.begin(), before.end(), out);
}

std::string scriptForText(const PageCall& call, std::string argument)
{
    escapeForSingleQuotedScript(argument, call.prefix, suffix);
    return argument;
}

std::string scriptForDataURL(const PageCall& call, const DataURL& argument)
{
    std::string script;
    script.reserve(call.prefix.size() + argument.textLength() + suffix.size());
    script += call.prefix;
    argument.appendTo(script);
    script += suffix;
    return script;
}

}
