#include "platform/gtk/JSCTextFunctions.h"

#include <string_view>

namespace quillory::gtk {

namespace {

// The engine's decoder passes over white space and missing padding. Every character that it passed over
// makes the result shorter than the text's length promises, so the length tells a strict text. Decoding into
// an array that is there already takes half the memory of making one.
// Converting to UTF-8 stops at an unpaired surrogate, so these are replaced before.
constexpr std::string_view source = R"(({
    decoded(text) {
        const comma = text.indexOf(",");
        if (comma < 0)
            return null;
        const payload = text.substring(comma + 1);
        const pads = payload.endsWith("==") ? 2 : payload.endsWith("=") ? 1 : 0;
        if (payload.length % 4 !== 0)
            return null;
        try {
            const bytes = new Uint8Array(payload.length / 4 * 3 - pads);
            const {read, written} = bytes.setFromBase64(payload);
            return read === payload.length && written === bytes.length ? bytes : null;
        } catch {
            return null;
        }
    },
    wellFormed(text) { return text.toWellFormed(); },
}))";

constexpr const char* nameInContext = "quilloryTextFunctions";

}

GObjectPtr<::JSCValue> JSCTextFunctions::wellFormed(::JSCValue* text)
{
    return call(m_wellFormed, "wellFormed", text);
}

GObjectPtr<::JSCValue> JSCTextFunctions::decodedAfterFirstComma(::JSCValue* text)
{
    return call(m_decoded, "decoded", text);
}

GObjectPtr<::JSCValue> JSCTextFunctions::call(GObjectPtr<::JSCValue>& function, const char* name, ::JSCValue* text)
{
    if (!function)
        function.reset(jsc_value_object_get_property(compiled().get(), name));
    return GObjectPtr<::JSCValue>(jsc_value_function_callv(function.get(), 1, &text));
}

GObjectPtr<::JSCValue> JSCTextFunctions::compiled() const
{
    GObjectPtr<::JSCValue> known(jsc_context_get_value(m_context.get(), nameInContext));
    if (jsc_value_is_object(known.get()))
        return known;
    GObjectPtr<::JSCValue> functions(
        jsc_context_evaluate(m_context.get(), source.data(), static_cast<gssize>(source.size())));
    jsc_context_set_value(m_context.get(), nameInContext, functions.get());
    return functions;
}

}
