#pragma once

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Value.h"
#include "support/StringBytes.h"

namespace quillory::fake {

// What a base64 text stands for, bit by bit straight from the definition; none if it is not base64 to the letter.
inline std::optional<std::string> decodeBase64(std::string_view text)
{
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    if (text.size() % 4 != 0)
        return std::nullopt;
    for (int pads = 0; pads < 2 && text.ends_with('='); ++pads)
        text.remove_suffix(1);
    std::string bytes;
    unsigned bits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto value = alphabet.find(text[i]);
        if (value == std::string_view::npos)
            return std::nullopt;
        bits = bits << 6 | static_cast<unsigned>(value);
        if (i % 4 != 0)
            bytes += static_cast<char>(bits >> (6 - i % 4 * 2));
    }
    return bytes;
}

// A text that is held here.
class PlainText final : public Text {
public:
    explicit PlainText(std::string text)
        : m_text(std::move(text))
    {
    }
    std::string utf8() const override { return m_text; }
    std::shared_ptr<const Bytes> base64AfterFirstComma() const override
    {
        const auto comma = m_text.find(',');
        auto bytes =
            comma == std::string::npos ? std::nullopt : decodeBase64(std::string_view(m_text).substr(comma + 1));
        return bytes ? std::make_shared<StringBytes>(std::move(*bytes)) : nullptr;
    }

private:
    std::string m_text;
};

// A message body written down in a test, as JSON.
class PlainValue final : public Value {
public:
    explicit PlainValue(nlohmann::json value)
        : m_value(std::move(value))
    {
    }
    Kind kind() const override
    {
        return m_value.is_boolean() ? Kind::boolean
            : m_value.is_number()   ? Kind::number
            : m_value.is_string()   ? Kind::text
            : m_value.is_array()    ? Kind::array
            : m_value.is_object()   ? Kind::object
                                    : Kind::null;
    }
    TextHandle text() const override
    {
        return m_value.is_string() ? std::make_shared<PlainText>(m_value.get<std::string>()) : nullptr;
    }
    std::size_t size() const override { return m_value.is_array() ? m_value.size() : 0; }
    std::unique_ptr<Value> at(std::size_t index) const override
    {
        return std::make_unique<PlainValue>(m_value.at(index));
    }
    bool holdsStringObjects() const override
    {
        return m_value.is_array() && std::ranges::all_of(m_value, [](const auto& entry) {
                   return entry.is_object()
                       && std::ranges::all_of(entry, [](const auto& text) { return text.is_string(); });
               });
    }
    std::vector<std::string> keys() const override
    {
        std::vector<std::string> keys;
        if (m_value.is_object()) {
            for (const auto& entry : m_value.items())
                keys.push_back(entry.key());
        }
        return keys;
    }
    std::unique_ptr<Value> at(const std::string& key) const override
    {
        return std::make_unique<PlainValue>(m_value.is_object() ? m_value.value(key, nlohmann::json())
                                                                : nlohmann::json());
    }

private:
    nlohmann::json m_value;
};

}
