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

TextHandle JSCValue::text() const
{
    if (!jsc_value_is_string(m_value.get()))
        return nullptr;
    return std::make_shared<JSCText>(retain(m_value.get()), m_functions);
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
        GObjectPtr<::JSCValue>(jsc_value_object_get_property_at_index(m_value.get(), static_cast<guint>(index))),
        m_functions);
}

std::unique_ptr<Value> JSCValue::at(const std::string& key) const
{
    auto* value = m_value.get();
    const bool hasKeys = jsc_value_is_object(value) && !jsc_value_is_array(value);
    return std::make_unique<JSCValue>(GObjectPtr<::JSCValue>(hasKeys
                                                                 ? jsc_value_object_get_property(value, key.c_str())
                                                                 : jsc_value_new_null(jsc_value_get_context(value))),
                                      m_functions);
}

}
