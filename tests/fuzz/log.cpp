// Log lines: whatever the text, one printable line of UTF-8 comes of it, and an ordinary text stays as it is.
#include <algorithm>
#include <cstdint>
#include <string>

#include "check.h"
#include "platform/posix/StandardLog.h"
#include "support/UTF8.h"

namespace {

bool isPrintable(const std::string& text)
{
    if (!quillory::isValidUTF8(text))
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const bool c1 = byte == 0xC2 && static_cast<unsigned char>(text[i + 1]) < 0xA0;
        if (byte < 0x20 || byte == 0x7F || c1)
            return false;
    }
    return true;
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto line = quillory::posix::escapedLogLine(text);
    check(isPrintable(line), "the line is not printable");
    check((line == text) == isPrintable(text), "an ordinary text was changed, or another was not");
    check(quillory::posix::escapedLogLine(line) == line, "escaping twice is not escaping once");
    return 0;
}
