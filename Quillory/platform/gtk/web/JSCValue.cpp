#include "platform/gtk/web/JSCValue.h"

namespace quillory::gtk {

std::string JSCText::utf8() const
{
    const auto text = m_functions->wellFormed(m_value.get());
    const GBytesPtr bytes(jsc_value_to_string_as_bytes(text.get()));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
    return {data, size};
}

std::shared_ptr<const Bytes> JSCText::base64AfterFirstComma() const
{
    return m_functions->decodedAfterFirstComma(m_value.get());
}

Value::Kind JSCValue::kind() const
{
    if (!m_kind)
        m_kind = findKind();
    return *m_kind;
}

Value::Kind JSCValue::findKind() const
{
    auto* value = m_value.get();
    if (jsc_value_is_string(value))
        return Kind::text;
    if (jsc_value_is_object(value)) {
        if (jsc_value_is_array(value))
            return Kind::array;
        const std::unique_ptr<char*, decltype(&g_strfreev)> names(jsc_value_object_enumerate_properties(value),
                                                                  g_strfreev);
        for (char** name = names.get(); name != nullptr && *name != nullptr; ++name)
            m_keys.emplace_back(*name);
        // A date is a value of its own, not a tree of others. It has no keys, and telling it is a script.
        return m_keys.empty() && jsc_value_object_is_instance_of(value, "Date") ? Kind::null : Kind::object;
    }
    if (jsc_value_is_number(value))
        return Kind::number;
    return jsc_value_is_boolean(value) ? Kind::boolean : Kind::null;
}

TextHandle JSCValue::text() const
{
    if (kind() != Kind::text)
        return nullptr;
    return std::make_shared<JSCText>(retain(m_value.get()), m_functions);
}

std::size_t JSCValue::size() const
{
    if (kind() != Kind::array)
        return 0;
    const GObjectPtr<::JSCValue> length(jsc_value_object_get_property(m_value.get(), "length"));
    return static_cast<std::size_t>(jsc_value_to_double(length.get()));
}

std::unique_ptr<Value> JSCValue::at(std::size_t index) const
{
    return std::make_unique<JSCValue>(
        GObjectPtr<::JSCValue>(jsc_value_object_get_property_at_index(m_value.get(), static_cast<guint>(index))),
        m_functions);
}

std::vector<std::string> JSCValue::keys() const
{
    return kind() == Kind::object ? m_keys : std::vector<std::string>();
}

std::unique_ptr<Value> JSCValue::at(const std::string& key) const
{
    if (kind() != Kind::object) {
        auto* context = jsc_value_get_context(m_value.get());
        return std::make_unique<JSCValue>(GObjectPtr<::JSCValue>(jsc_value_new_null(context)), m_functions);
    }
    return std::make_unique<JSCValue>(GObjectPtr<::JSCValue>(jsc_value_object_get_property(m_value.get(), key.c_str())),
                                      m_functions);
}

}
