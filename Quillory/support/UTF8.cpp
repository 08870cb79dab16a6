#include "support/UTF8.h"

#include <cstdint>
#include <cstring>

namespace quillory {

namespace {

// The length of the well-formed sequence that starts a text, 0 if there is none. The second byte of a
// sequence is limited further than the rest wherever an overlong form or a surrogate could hide.
std::size_t sequenceLength(const unsigned char* text, std::size_t available)
{
    const auto lead = text[0];
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xC2 && lead <= 0xDF ? 2
        : lead >= 0xE0 && lead <= 0xEF                      ? 3
        : lead >= 0xF0 && lead <= 0xF4                      ? 4
                                                            : 0;
    if (length == 0 || available < length)
        return 0;
    const unsigned char lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (text[1] < lowest || text[1] > highest)
        return 0;
    for (std::size_t i = 2; i < length; ++i) {
        if ((text[i] & 0xC0) != 0x80)
            return 0;
    }
    return length;
}

}

std::size_t validUTF8Prefix(std::string_view bytes)
{
    const auto* text = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t position = 0;
    while (position < bytes.size()) {
        // Eight ASCII characters at a time: most of a project file is nothing else.
        if (bytes.size() - position >= sizeof(std::uint64_t)) {
            std::uint64_t block;
            std::memcpy(&block, text + position, sizeof block);
            if ((block & 0x8080808080808080U) == 0) {
                position += sizeof block;
                continue;
            }
        }
        const auto length = sequenceLength(text + position, bytes.size() - position);
        if (length == 0)
            break;
        position += length;
    }
    return position;
}

}
