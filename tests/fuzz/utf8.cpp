// UTF-8: what counts as well-formed is what code points encode to.
#include <cstdint>
#include <string_view>

#include "check.h"
#include "support/UTF8.h"

namespace {

// The length of the character that starts a text, 0 if there is none; by decoding it.
std::size_t characterLength(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i])); };
    const auto first = byte(0);
    if (first < 0x80)
        return 1;
    std::size_t length = 0;
    while (length < 8 && (first << length & 0x80) != 0)
        ++length;
    if (length < 2 || length > 4 || text.size() < length)
        return 0;
    std::uint32_t codePoint = first & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (byte(i) >> 6 != 2)
            return 0;
        codePoint = codePoint << 6 | (byte(i) & 0x3F);
    }
    constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint < smallest[length] || codePoint > 0x10FFFF || surrogate ? 0 : length;
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::size_t expected = 0;
    while (expected < size) {
        const auto length = characterLength(text.substr(expected));
        if (length == 0)
            break;
        expected += length;
    }
    check(quillory::validUTF8Prefix(text) == expected, "the well-formed beginning is of another length");
    return 0;
}
