#include "web/PageCall.h"

#include <algorithm>

namespace quillory::web {

namespace {

constexpr std::string_view suffix = "');";

// The letter that stands for a character behind a backslash, 0 for one that needs none.
constexpr char escapeLetter(char character)
{
    switch (character) {
    case '\\':
    case '\'':
        return character;
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    default:
        return 0;
    }
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
    const auto needsEscape = [](char character) { return escapeLetter(character) != 0; };
    auto position = text.begin();
    while (true) {
        const auto special = std::find_if(position, text.end(), needsEscape);
        script.append(position, special);
        if (special == text.end())
            return;
        script += '\\';
        script += escapeLetter(*special);
        position = special + 1;
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
