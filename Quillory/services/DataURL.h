#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>

#include "platform/Text.h"

namespace quillory {

// The bytes of a data URL: what follows its first comma, decoded as base64. Nothing before the comma
// is looked at. Null when there is no comma or the payload is not base64 to the letter.
inline std::shared_ptr<const Bytes> decodeDataURLPayload(const Text& dataURL)
{
    return dataURL.base64AfterFirstComma();
}

// A data URL that is not written out yet, so that a large image goes straight from its bytes into the
// text it is needed in.
struct DataURL {
    std::string mimeType;
    std::shared_ptr<const Bytes> bytes;

    // What comes before the payload: "data:" MIME type ";base64,".
    std::string head() const { return "data:" + mimeType + ";base64,"; }
};

// Without line breaks. The texts for the pieces of something make one text if all but the last have a
// multiple of three bytes.
void appendBase64(std::string& text, std::span<const std::byte> bytes);

}
