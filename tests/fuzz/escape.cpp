// Page calls: a text that is escaped into a script, whole or in pieces, and read by a JavaScript engine is
// the same text.
#include <jsc/jsc.h>

#include <cstdint>
#include <memory>
#include <string>

#include "check.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/gtk/web/ScriptQueue.h"
#include "support/UTF8.h"
#include "web/PageCall.h"

namespace {

using namespace quillory;

class Page {
public:
    Page() { evaluate("globalThis.window = {handleNativeFileContent(text) { window.text = text; }}; 0"); }

    std::string evaluate(const std::string& script)
    {
        const GObjectPtr<JSCValue> value(
            jsc_context_evaluate(m_context.get(), script.data(), static_cast<gssize>(script.size())));
        check(jsc_context_get_exception(m_context.get()) == nullptr, "the script failed");
        const GBytesPtr bytes(jsc_value_to_string_as_bytes(value.get()));
        gsize size = 0;
        const auto* data = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
        return {data, size};
    }

private:
    GObjectPtr<JSCContext> m_context {jsc_context_new()};
};

}

// The first byte is the length of the pieces.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Never ended: the engine cannot be at the end of the process.
    static Page& page = *std::make_unique<Page>().release();
    if (size == 0)
        return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    if (!isValidUTF8(text))
        return 0;
    const auto script = web::scriptForText(web::fileContentCall, text);
    page.evaluate(script);
    check(page.evaluate("window.text") == text, "the page has another text");

    const auto call = gtk::literalCall(script);
    check(call.has_value(), "the script is not taken for a call with one text");
    page.evaluate("window.text = ''");
    for (auto rest = call->text; !rest.empty();) {
        const auto length = gtk::literalPieceLength(rest, std::size_t {data[0]} + 1);
        check(length > 0, "a piece is empty");
        page.evaluate("window.text += '" + std::string(rest.substr(0, length)) + "'; 0");
        rest.remove_prefix(length);
    }
    check(page.evaluate("window.text") == text, "the pieces make another text");
    return 0;
}
