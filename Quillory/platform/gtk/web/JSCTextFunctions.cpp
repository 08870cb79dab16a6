#include "platform/gtk/web/JSCTextFunctions.h"

#include <string_view>
#include <utility>
#include <vector>

namespace quillory::gtk {

namespace {

// The engine's decoder passes over white space and missing padding. Every character that it passed over
// makes the result shorter than the text's length promises, so the length tells a strict text. Decoding into
// an array that is there already takes half the memory of making one.
// Converting to UTF-8 stops at an unpaired surrogate, so these are replaced before.
constexpr std::string_view source = R"(({
    decoded(text, spare) {
        const comma = text.indexOf(",");
        if (comma < 0)
            return null;
        const payload = text.substring(comma + 1);
        const pads = payload.endsWith("==") ? 2 : payload.endsWith("=") ? 1 : 0;
        if (payload.length % 4 !== 0)
            return null;
        try {
            const length = payload.length / 4 * 3 - pads;
            const bytes = spare?.byteLength >= length ? new Uint8Array(spare, 0, length) : new Uint8Array(length);
            const {read, written} = bytes.setFromBase64(payload);
            return read === payload.length && written === bytes.length ? bytes : null;
        } catch {
            return null;
        }
    },
    wellFormed(text) { return text.toWellFormed(); },
}))";

constexpr const char* nameInContext = "quilloryTextFunctions";

constexpr std::size_t mostSpares = 4;
constexpr gsize largestSpare = 1 << 20; // bytes

gsize sizeOf(::JSCValue* buffer)
{
    return jsc_value_is_array_buffer(buffer) ? jsc_value_array_buffer_get_size(buffer) : 0;
}

// The engine would keep the memory until it next collects garbage; moving the buffer's content into an empty
// one frees it now.
void freeMemory(::JSCValue* buffer)
{
    if (jsc_value_is_array_buffer(buffer))
        const GObjectPtr<::JSCValue> empty(
            jsc_value_object_invoke_method(buffer, "transfer", G_TYPE_INT, 0, G_TYPE_NONE));
}

}

JSCTextFunctions::~JSCTextFunctions()
{
    for (const auto& buffer : m_spares)
        freeMemory(buffer.get());
}

GObjectPtr<::JSCValue> JSCTextFunctions::wellFormed(::JSCValue* text)
{
    return call(m_wellFormed, "wellFormed", {text});
}

GObjectPtr<::JSCValue> JSCTextFunctions::decodedAfterFirstComma(::JSCValue* text)
{
    GObjectPtr<::JSCValue> spare;
    if (m_spares.empty()) {
        spare.reset(jsc_value_new_null(m_context.get()));
    } else {
        spare = std::move(m_spares.back());
        m_spares.pop_back();
    }
    auto array = call(m_decoded, "decoded", {text, spare.get()});
    const bool decoded = array && jsc_value_is_typed_array(array.get());
    // One that is too small is not tried again.
    if (!decoded || jsc_value_typed_array_get_size(array.get()) > sizeOf(spare.get()))
        freeMemory(spare.get());
    return decoded ? std::move(array) : nullptr;
}

void JSCTextFunctions::giveBack(::JSCValue* array)
{
    GObjectPtr<::JSCValue> buffer(jsc_value_typed_array_get_buffer(array));
    if (m_spares.size() < mostSpares && sizeOf(buffer.get()) <= largestSpare)
        m_spares.push_back(std::move(buffer));
    else
        freeMemory(buffer.get());
}

GObjectPtr<::JSCValue> JSCTextFunctions::call(GObjectPtr<::JSCValue>& function, const char* name,
                                              std::initializer_list<::JSCValue*> arguments)
{
    if (!function)
        function.reset(jsc_value_object_get_property(compiled().get(), name));
    std::vector<::JSCValue*> list(arguments);
    return GObjectPtr<::JSCValue>(
        jsc_value_function_callv(function.get(), static_cast<guint>(list.size()), list.data()));
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
