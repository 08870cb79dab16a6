// Data URLs: the engine decodes what a decoder of the test's own decodes.
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
    const auto comma = url.find(',');
    if (isValidUTF8(url))
        check(decoded(engineText(url))
                  == (comma == std::string::npos ? std::nullopt : fake::decodeBase64(url.substr(comma + 1))),
              "the engine's text is decoded otherwise");
    return 0;
}
