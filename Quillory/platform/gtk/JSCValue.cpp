#include "platform/gtk/JSCValue.h"

namespace quillory::gtk {

namespace {

// The engine's decoder passes over white space and missing padding. Every character that it passed over
// makes the result shorter than the text's length promises, so the length tells a strict text.
constexpr std::string_view decoder = R"((function (text) {
    const comma = text.indexOf(",");
    if (comma < 0)
        return null;
    const payload = text.substring(comma + 1);
    const pads = payload.endsWith("==") ? 2 : payload.endsWith("=") ? 1 : 0;
    try {
        const bytes = Uint8Array.fromBase64(payload);
        return payload.length % 4 === 0 && bytes.length === payload.length / 4 * 3 - pads ? bytes : null;
    } catch {
        return null;
    }
}))";

// Converting to UTF-8 stops at an unpaired surrogate.
constexpr std::string_view wellFormer = "(function (text) { return text.toWellFormed(); })";

// Compiled once for each context, which keeps it under `name`.
GObjectPtr<::JSCValue> function(JSCContext* context, const char* name, std::string_view source)
{
    GObjectPtr<::JSCValue> known(jsc_context_get_value(context, name));
    if (jsc_value_is_function(known.get()))
        return known;
    GObjectPtr<::JSCValue> compiled(jsc_context_evaluate(context, source.data(), static_cast<gssize>(source.size())));
    jsc_context_set_value(context, name, compiled.get());
    return compiled;
}

GObjectPtr<::JSCValue> call(const char* name, std::string_view source, ::JSCValue* argument)
{
    const auto callee = function(jsc_value_get_context(argument), name, source);
    return GObjectPtr<::JSCValue>(jsc_value_function_call(callee.get(), JSC_TYPE_VALUE, argument, G_TYPE_NONE));
}

// A typed array's memory, read in place.
class JSCBytes final : public Bytes {
public:
    explicit JSCBytes(GObjectPtr<::JSCValue> array)
        : m_array(std::move(array))
    {
    }
    JSCBytes(const JSCBytes&) = delete;
    JSCBytes& operator=(const JSCBytes&) = delete;

    // The engine would keep the memory until it next collects garbage; moving the buffer's content into
    // an empty one frees it now.
    ~JSCBytes() override
    {
        const GObjectPtr<::JSCValue> buffer(jsc_value_typed_array_get_buffer(m_array.get()));
        const GObjectPtr<::JSCValue> empty(
            jsc_value_object_invoke_method(buffer.get(), "transfer", G_TYPE_INT, 0, G_TYPE_NONE));
    }

    std::span<const std::byte> span() const override
    {
        gsize length = 0;
        const void* data = jsc_value_typed_array_get_data(m_array.get(), &length);
        return {static_cast<const std::byte*>(data), length};
    }

private:
    GObjectPtr<::JSCValue> m_array;
};

}

std::string JSCText::utf8() const
{
    const GBytesPtr bytes(jsc_value_to_string_as_bytes(call("quilloryWellFormer", wellFormer, m_value.get()).get()));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
    return {data, size};
}

std::unique_ptr<const Bytes> JSCText::base64AfterFirstComma() const
{
    auto bytes = call("quilloryDecoder", decoder, m_value.get());
    if (!bytes || !jsc_value_is_typed_array(bytes.get()))
        return nullptr;
    return std::make_unique<JSCBytes>(std::move(bytes));
}

Value::Kind JSCValue::kind() const
{
    if (!m_kind)
        m_kind = kindOf(m_value.get());
    return *m_kind;
}

Value::Kind JSCValue::kindOf(::JSCValue* value)
{
    if (jsc_value_is_string(value))
        return Kind::text;
    if (jsc_value_is_number(value))
        return Kind::number;
    if (jsc_value_is_boolean(value))
        return Kind::boolean;
    if (jsc_value_is_array(value))
        return Kind::array;
    // A date is a value of its own, not a tree of others.
    if (jsc_value_is_object(value) && !jsc_value_object_is_instance_of(value, "Date"))
        return Kind::object;
    return Kind::null;
}

TextHandle JSCValue::text() const
{
    if (!jsc_value_is_string(m_value.get()))
        return nullptr;
    return std::make_shared<JSCText>(retain(m_value.get()));
}

std::size_t JSCValue::size() const
{
    if (!jsc_value_is_array(m_value.get()))
        return 0;
    const GObjectPtr<::JSCValue> length(jsc_value_object_get_property(m_value.get(), "length"));
    return static_cast<std::size_t>(jsc_value_to_double(length.get()));
}

std::unique_ptr<Value> JSCValue::at(std::size_t index) const
{
    return std::make_unique<JSCValue>(
        GObjectPtr<::JSCValue>(jsc_value_object_get_property_at_index(m_value.get(), static_cast<guint>(index))));
}

std::vector<std::string> JSCValue::keys() const
{
    if (kind() != Kind::object)
        return {};
    const std::unique_ptr<char*, decltype(&g_strfreev)> names(jsc_value_object_enumerate_properties(m_value.get()),
                                                              g_strfreev);
    std::vector<std::string> keys;
    for (char** name = names.get(); name != nullptr && *name != nullptr; ++name)
        keys.emplace_back(*name);
    return keys;
}

std::unique_ptr<Value> JSCValue::at(const std::string& key) const
{
    if (kind() != Kind::object) {
        auto* context = jsc_value_get_context(m_value.get());
        return std::make_unique<JSCValue>(GObjectPtr<::JSCValue>(jsc_value_new_null(context)));
    }
    return std::make_unique<JSCValue>(
        GObjectPtr<::JSCValue>(jsc_value_object_get_property(m_value.get(), key.c_str())));
}

}
