#pragma once

#include <algorithm>
#include <nlohmann/json.hpp>

#include "platform/Value.h"
#include "support/StringBytes.h"

namespace quillory::fake {

// What a base64 text stands for, straight from the definition; null if it is not base64 to the letter.
inline std::shared_ptr<const Bytes> decodeBase64(std::string_view text)
{
    constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto letters = text.substr(0, text.find_last_not_of('=') + 1);
    if (text.size() % 4 != 0 || text.size() > letters.size() + 2
        || letters.find_first_not_of(alphabet) != std::string_view::npos)
        return nullptr;
    std::string bytes;
    unsigned bits = 0;
    for (std::size_t i = 0; i < letters.size(); ++i) {
        bits = bits << 6 | static_cast<unsigned>(alphabet.find(letters[i]));
        if (i % 4 != 0)
            bytes += static_cast<char>(bits >> (6 - i % 4 * 2));
    }
    return std::make_shared<StringBytes>(std::move(bytes));
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
        return comma == std::string::npos ? nullptr : decodeBase64(std::string_view(m_text).substr(comma + 1));
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
        return m_value.is_array() && std::ranges::all_of(m_value, holdsTextsOnly);
    }
    bool isStringObject() const override { return holdsTextsOnly(m_value); }
    std::unique_ptr<Value> at(const std::string& key) const override
    {
        return std::make_unique<PlainValue>(m_value.is_object() && m_value.contains(key) ? m_value[key] : nullptr);
    }

    static bool holdsTextsOnly(const nlohmann::json& value)
    {
        return value.is_object() && std::ranges::all_of(value, [](const auto& entry) { return entry.is_string(); });
    }

private:
    nlohmann::json m_value;
};

}
