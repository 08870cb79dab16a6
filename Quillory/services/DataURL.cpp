#include "services/DataURL.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace quillory {

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The two characters for each value of 12 bits.
constexpr auto characterPairs = [] {
    std::array<std::array<char, 2>, 4096> pairs {};
    for (std::size_t i = 0; i != pairs.size(); ++i)
        pairs[i] = {alphabet[i >> 6], alphabet[i & 0x3F]};
    return pairs;
}();

// Writes the four characters that stand for the 24 bits of `group`.
char* encodeGroup(std::uint32_t group, char* out)
{
    std::memcpy(out, characterPairs[group >> 12].data(), 2);
    std::memcpy(out + 2, characterPairs[group & 0xFFF].data(), 2);
    return out + 4;
}

}

void appendBase64(std::string& text, std::span<const std::byte> bytes)
{
    // Checking the index of each byte would take a third of the time again; the loop's condition does it for three.
    const auto value = [&](std::size_t i) { return std::to_integer<std::uint32_t>(bytes.data()[i]); };
    // A block at a time goes through a buffer that stays in the processor's cache.
    std::array<char, 8192> buffer;
    while (bytes.size() >= 3) {
        char* out = buffer.data();
        std::size_t i = 0;
        for (; i + 3 <= bytes.size() && out != buffer.data() + buffer.size(); i += 3)
            out = encodeGroup(value(i) << 16 | value(i + 1) << 8 | value(i + 2), out);
        text.append(buffer.data(), out);
        bytes = bytes.subspan(i);
    }
    if (bytes.empty())
        return;
    encodeGroup(value(0) << 16 | (bytes.size() == 2 ? value(1) << 8 : 0), buffer.data());
    buffer[3] = '=';
    if (bytes.size() == 1)
        buffer[2] = '=';
    text.append(buffer.data(), 4);
}

}
