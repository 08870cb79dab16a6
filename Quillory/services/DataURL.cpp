#include "services/DataURL.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace quillory {

namespace {

constexpr std::string_view scheme = "data:";
constexpr std::string_view encodingMark = ";base64,";
constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// Writes the four characters that stand for the 24 bits of `group`.
char* encodeGroup(std::uint32_t group, char* out)
{
    for (int shift = 18; shift >= 0; shift -= 6)
        *out++ = alphabet[group >> shift & 0x3F];
    return out;
}

void appendBase64(std::string& text, std::span<const std::byte> bytes)
{
    const auto start = text.size();
    text.resize(start + (bytes.size() + 2) / 3 * 4);
    char* out = text.data() + start;
    const auto value = [&](std::size_t i) { return std::to_integer<std::uint32_t>(bytes[i]); };

    std::size_t i = 0;
    for (; i + 3 <= bytes.size(); i += 3)
        out = encodeGroup(value(i) << 16 | value(i + 1) << 8 | value(i + 2), out);
    const auto rest = bytes.size() - i;
    if (rest == 0)
        return;
    out = encodeGroup(value(i) << 16 | (rest == 2 ? value(i + 1) << 8 : 0), out);
    out[-1] = '=';
    if (rest == 1)
        out[-2] = '=';
}

}

std::unique_ptr<const Bytes> decodeDataURLPayload(const Text& dataURL)
{
    return dataURL.base64AfterFirstComma();
}

std::size_t DataURL::textLength() const
{
    return scheme.size() + mimeType.size() + encodingMark.size() + (bytes->span().size() + 2) / 3 * 4;
}

void DataURL::appendTo(std::string& text) const
{
    text += scheme;
    text += mimeType;
    text += encodingMark;
    appendBase64(text, bytes->span());
}

}
