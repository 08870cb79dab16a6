#include "PlainValue.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "support/StringBytes.h"

namespace quillory::fake {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t invalid = 0xFF;

constexpr std::array<std::uint8_t, 256> valueTable()
{
    std::array<std::uint8_t, 256> table {};
    table.fill(invalid);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        table[static_cast<unsigned char>(alphabet[i])] = static_cast<std::uint8_t>(i);
    return table;
}

constexpr auto values = valueTable();

std::optional<std::string> decode(std::string_view payload)
{
    if (payload.size() % 4 != 0)
        return std::nullopt;
    const std::size_t pads = payload.ends_with("==") ? 2 : payload.ends_with("=") ? 1 : 0;
    std::string bytes(payload.size() / 4 * 3, '\0');
    char* out = bytes.data();
    for (std::size_t i = 0; i < payload.size(); i += 4) {
        const std::size_t characters = i + 4 == payload.size() ? 4 - pads : 4;
        std::uint32_t group = 0;
        for (std::size_t j = 0; j < 4; ++j) {
            const auto value = j < characters ? values[static_cast<unsigned char>(payload[i + j])] : std::uint8_t {0};
            if (value == invalid)
                return std::nullopt;
            group = group << 6 | value;
        }
        *out++ = static_cast<char>(group >> 16);
        *out++ = static_cast<char>(group >> 8);
        *out++ = static_cast<char>(group);
    }
    bytes.resize(bytes.size() - pads);
    return bytes;
}

}

std::shared_ptr<const Bytes> PlainText::base64AfterFirstComma() const
{
    const auto comma = m_text.find(',');
    if (comma == std::string::npos)
        return nullptr;
    auto bytes = decode(std::string_view(m_text).substr(comma + 1));
    return bytes ? std::make_shared<StringBytes>(std::move(*bytes)) : nullptr;
}

PlainValue::PlainValue(Array value)
    : m_value(std::make_shared<Array>(std::move(value)))
{
}

PlainValue::PlainValue(Object value)
    : m_value(std::make_shared<Object>(std::move(value)))
{
}

TextHandle PlainValue::text() const
{
    const auto* text = std::get_if<std::shared_ptr<PlainText>>(&m_value);
    return text == nullptr ? nullptr : *text;
}

std::size_t PlainValue::size() const
{
    const auto* array = std::get_if<std::shared_ptr<Array>>(&m_value);
    return array == nullptr ? 0 : (*array)->size();
}

std::unique_ptr<Value> PlainValue::at(std::size_t index) const
{
    return std::make_unique<PlainValue>(std::get<std::shared_ptr<Array>>(m_value)->at(index));
}

std::vector<std::string> PlainValue::keys() const
{
    std::vector<std::string> keys;
    if (const auto* object = std::get_if<std::shared_ptr<Object>>(&m_value)) {
        for (const auto& [key, value] : **object)
            keys.push_back(key);
    }
    return keys;
}

std::unique_ptr<Value> PlainValue::at(const std::string& key) const
{
    if (const auto* object = std::get_if<std::shared_ptr<Object>>(&m_value)) {
        if (const auto entry = (*object)->find(key); entry != (*object)->end())
            return std::make_unique<PlainValue>(entry->second);
    }
    return std::make_unique<PlainValue>();
}

}
