#include "web/PageCall.h"

#include <algorithm>
#include <array>
#include <memory>
#include <span>

#include "support/StringBytes.h"

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

void appendEscaped(std::string& literal, std::string_view text)
{
    while (!text.empty()) {
        const auto plain = static_cast<std::size_t>(std::ranges::find_if(text, escapeLetter) - text.begin());
        literal += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            return;
        literal += '\\';
        literal += escapeLetter(text.front());
        text.remove_prefix(1);
    }
}

// The length of a piece of UTF-8 that cuts no character in two.
std::size_t pieceLength(std::string_view text, std::size_t limit)
{
    auto length = std::min(text.size(), limit);
    while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80)
        ++length;
    return length;
}

}

Script scriptForText(const PageCall& call, std::string argument, std::size_t pieceSize)
{
    const auto text = std::make_shared<const StringBytes>(std::move(argument));
    const auto appendNext = [text, pieceSize, done = std::size_t {0}](std::string& literal) mutable {
        text->forgetBefore(done);
        const auto rest = text->view().substr(done);
        const auto length = pieceLength(rest, pieceSize);
        appendEscaped(literal, rest.substr(0, length));
        done += length;
        return length < rest.size();
    };
    return {call.prefix, appendNext, suffix};
}

Script scriptForDataURL(const PageCall& call, DataURL argument)
{
    const auto appendNext = [image = std::move(argument), done = std::size_t {0}](std::string& literal) mutable {
        if (done == 0)
            literal += image.head();
        image.bytes->forgetBefore(done);
        const auto rest = image.bytes->span().subspan(done);
        const auto length = std::min(rest.size(), usualPiece);
        appendBase64(literal, rest.subspan(0, length));
        done += length;
        return length < rest.size();
    };
    return {call.prefix, appendNext, suffix};
}

}
