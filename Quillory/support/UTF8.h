#pragma once

#include <cstddef>
#include <string_view>

namespace quillory {

// The length of the longest beginning of `bytes` that is well-formed UTF-8. Overlong forms, surrogates,
// values above U+10FFFF and a truncated end are not; NUL and a byte order mark are ordinary characters.
std::size_t validUTF8Prefix(std::string_view bytes);

inline bool isValidUTF8(std::string_view bytes)
{
    return validUTF8Prefix(bytes) == bytes.size();
}

}
