#include "platform/gtk/web/JSCTextFunctions.h"

#include <new>
#include <string_view>

namespace quillory::gtk {

namespace {

// The engine's decoder passes over white space and missing padding. Every character that it passed over
// makes the result shorter than the text's length promises, so the length tells a strict text.
// Moving a buffer's content into an empty one detaches it from its memory, which the engine would otherwise
// keep until it next collects garbage.
// Converting to UTF-8 stops at an unpaired surrogate, so these are replaced before.
constexpr std::string_view source = R"(({
    decodedLength(text) {
        const comma = text.indexOf(",");
        const length = text.length - comma - 1;
        if (comma < 0 || length % 4 !== 0)
            return -1;
        const pads = text.endsWith("==") ? 2 : text.endsWith("=") ? 1 : 0;
        return length / 4 * 3 - pads;
    },
    decode(text, buffer) {
        try {
            const payload = text.substring(text.indexOf(",") + 1);
            const {read, written} = new Uint8Array(buffer).setFromBase64(payload);
            return read === payload.length && written === buffer.byteLength;
        } catch {
            return false;
        } finally {
            buffer.transfer(0);
        }
    },
    isStringObject(value) {
        if (typeof value !== "object" || value === null || Array.isArray(value) || value instanceof Date)
            return false;
        let keys = 0;
        for (const key in value) {
            if (++keys > 100000 || typeof value[key] !== "string")
                return false;
        }
        return true;
    },
    holdsStringObjects(list) {
        if (!Array.isArray(list))
            return false;
        // A hole is an element too, which is no object.
        for (let i = 0; i < list.length; ++i) {
            if (!this.isStringObject(list[i]))
                return false;
        }
        return true;
    },
    wellFormed(text) { return text.toWellFormed(); },
}))";

constexpr const char* nameInContext = "quilloryTextFunctions";

// Memory that is not cleared first.
class Memory final : public Bytes {
public:
    explicit Memory(std::size_t size)
        : m_size(size)
        , m_data(std::make_unique_for_overwrite<std::byte[]>(size))
    {
    }

    std::span<const std::byte> span() const override { return {m_data.get(), m_size}; }
    void* data() { return m_data.get(); }

private:
    std::size_t m_size;
    std::unique_ptr<std::byte[]> m_data;
};

using SharedMemory = std::shared_ptr<Memory>;

// Null if there is none.
SharedMemory allocate(double size)
try {
    return std::make_shared<Memory>(static_cast<std::size_t>(size));
} catch (const std::bad_alloc&) {
    return nullptr;
}

// Holds the memory until the engine lets it go.
GObjectPtr<::JSCValue> bufferOver(const SharedMemory& memory, JSCContext* context)
{
    const auto release = [](gpointer held) { std::unique_ptr<SharedMemory>(static_cast<SharedMemory*>(held)); };
    auto held = std::make_unique<SharedMemory>(memory);
    return GObjectPtr<::JSCValue>(
        jsc_value_new_array_buffer(context, memory->data(), memory->span().size(), release, held.release()));
}

}

bool JSCTextFunctions::isStringObject(::JSCValue* value)
{
    return jsc_value_to_boolean(call("isStringObject", {value}).get()) != 0;
}

bool JSCTextFunctions::holdsStringObjects(::JSCValue* list)
{
    return jsc_value_to_boolean(call("holdsStringObjects", {list}).get()) != 0;
}

GObjectPtr<::JSCValue> JSCTextFunctions::wellFormed(::JSCValue* text)
{
    auto result = call("wellFormed", {text});
    if (!jsc_value_is_string(result.get()))
        throw std::bad_alloc();
    return result;
}

std::shared_ptr<const Bytes> JSCTextFunctions::decodedAfterFirstComma(::JSCValue* text)
{
    const double length = jsc_value_to_double(call("decodedLength", {text}).get());
    auto memory = length < 0 ? nullptr : allocate(length);
    if (!memory)
        return nullptr;
    const auto buffer = bufferOver(memory, m_context.get());
    if (!buffer || !jsc_value_to_boolean(call("decode", {text, buffer.get()}).get()))
        return nullptr;
    return memory;
}

GObjectPtr<::JSCValue> JSCTextFunctions::call(const char* name, std::vector<::JSCValue*> arguments)
{
    if (!m_functions)
        m_functions = compiled();
    return GObjectPtr<::JSCValue>(jsc_value_object_invoke_methodv(
        m_functions.get(), name, static_cast<guint>(arguments.size()), arguments.data()));
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
