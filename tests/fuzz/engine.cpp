// Texts of the web engine: what follows the first comma is decoded as the definition says, and a text that is escaped
// into a script, whole or in pieces, is the same text in the page.
#include "check.h"
#include "fake/FakePlatform.h"
#include "fake/PlainValue.h"
#include "platform/gtk/web/JSCValue.h"
#include "support/UTF8.h"
#include "web/PageCall.h"

namespace {

using namespace quillory;

// Never ended: the engine cannot be at the end of the process.
JSCContext* const context = jsc_context_new();

std::string evaluate(const std::string& script)
{
    const GObjectPtr<JSCValue> value(jsc_context_evaluate(context, script.data(), static_cast<gssize>(script.size())));
    check(jsc_context_get_exception(context) == nullptr, "the script failed");
    const GBytesPtr bytes(jsc_value_to_string_as_bytes(value.get()));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
    return {data, size};
}

void checkDecoding(const std::string& text)
{
    const GBytesPtr utf8(g_bytes_new(text.data(), text.size()));
    const gtk::JSCText value {GObjectPtr<::JSCValue>(jsc_value_new_string_from_bytes(context, utf8.get())),
                              std::make_shared<gtk::JSCTextFunctions>(context)};
    const auto bytes = value.base64AfterFirstComma();
    const auto expected = fake::PlainText(text).base64AfterFirstComma();
    check((bytes == nullptr) == (expected == nullptr), "the engine decodes what is no base64, or not what is");
    check(bytes == nullptr || std::ranges::equal(bytes->span(), expected->span()), "other bytes are decoded");
}

void checkCall(const std::string& text)
{
    evaluate("globalThis.window = {handleNativeFileContent(text) { window.text = text; }}; 0");
    evaluate(fake::whole(web::scriptForText(web::fileContentCall, text)));
    check(evaluate("window.text") == text, "the page has another text");

    for (const std::size_t limit : {1U, 2U, 3U, 7U}) {
        evaluate("window.text = ''");
        const auto script = web::scriptForText(web::fileContentCall, text, limit);
        for (bool goesOn = true; goesOn;) {
            std::string piece;
            goesOn = script.appendNext(piece);
            evaluate("window.text += '" + piece + "'; 0");
        }
        check(evaluate("window.text") == text, "the pieces make another text");
    }
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (!isValidUTF8(text))
        return 0;
    checkDecoding(text);
    checkCall(text);
    return 0;
}
