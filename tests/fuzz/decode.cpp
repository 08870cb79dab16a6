// Data URLs: the engine's text and the plain one decode what a decoder of the test's own decodes.
#include <cstdint>
#include <optional>
#include <string>

#include "check.h"
#include "fake/PlainValue.h"
#include "platform/gtk/web/JSCValue.h"
#include "services/DataURL.h"
#include "support/UTF8.h"

namespace {

using namespace quillory;

int digit(char character)
{
    if (character >= 'A' && character <= 'Z')
        return character - 'A';
    if (character >= 'a' && character <= 'z')
        return character - 'a' + 26;
    if (character >= '0' && character <= '9')
        return character - '0' + 52;
    return character == '+' ? 62 : character == '/' ? 63 : -1;
}

// Bit by bit, straight from the definition.
std::optional<std::string> expected(const std::string& url)
{
    const auto comma = url.find(',');
    if (comma == std::string::npos || (url.size() - comma - 1) % 4 != 0)
        return std::nullopt;
    auto payload = url.substr(comma + 1);
    for (int pads = 0; pads < 2 && payload.ends_with('='); ++pads)
        payload.pop_back();
    std::string bits;
    for (const char character : payload) {
        const int value = digit(character);
        if (value < 0)
            return std::nullopt;
        for (int bit = 5; bit >= 0; --bit)
            bits += static_cast<char>(value >> bit & 1);
    }
    std::string bytes;
    for (std::size_t i = 0; i + 8 <= bits.size(); i += 8) {
        int byte = 0;
        for (std::size_t j = 0; j < 8; ++j)
            byte = byte << 1 | bits[i + j];
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

std::optional<std::string> decoded(const Text& text)
{
    const auto bytes = decodeDataURLPayload(text);
    if (!bytes)
        return std::nullopt;
    return std::string(reinterpret_cast<const char*>(bytes->span().data()), bytes->span().size());
}

gtk::JSCText engineText(const std::string& text)
{
    // Never ended: the engine cannot be at the end of the process.
    static JSCContext* const context = jsc_context_new();
    const GBytesPtr bytes(g_bytes_new(text.data(), text.size()));
    return {GObjectPtr<::JSCValue>(jsc_value_new_string_from_bytes(context, bytes.get())),
            std::make_shared<gtk::JSCTextFunctions>(context)};
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string url(reinterpret_cast<const char*>(data), size);
    const auto bytes = expected(url);
    check(decoded(fake::PlainText(url)) == bytes, "the plain text is decoded otherwise");
    if (isValidUTF8(url))
        check(decoded(engineText(url)) == bytes, "the engine's text is decoded otherwise");
    return 0;
}
