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

std::string scriptBuffer(const PageCall& call, std::size_t argumentLength)
{
    std::string script;
    script.reserve(call.prefix.size() + argumentLength + suffix.size());
    script += call.prefix;
    return script;
}

}

void escapeForSingleQuotedScript(std::string_view text, std::string& script)
{
    // A block at a time goes through a buffer that stays in the processor's cache.
    std::array<char, 8192> buffer;
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), buffer.size() / 2))) {
        char* out = buffer.data();
        for (const char character : text.substr(0, buffer.size() / 2)) {
            const char letter = escapeLetter(character);
            *out = '\\';
            out += letter != 0;
            *out++ = letter != 0 ? letter : character;
        }
        script.append(buffer.data(), out);
    }
}

std::string scriptForText(const PageCall& call, std::string_view argument)
{
    const auto escapes = std::ranges::count_if(argument, [](char character) { return escapeLetter(character) != 0; });
    auto script = scriptBuffer(call, argument.size() + static_cast<std::size_t>(escapes));
    escapeForSingleQuotedScript(argument, script);
    script += suffix;
    return script;
}

std::string scriptForDataURL(const PageCall& call, const DataURL& argument)
{
    auto script = scriptBuffer(call, argument.textLength());
    argument.appendTo(script);
    script += suffix;
    return script;
}

}
