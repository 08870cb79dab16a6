#pragma once

#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/Value.h"

namespace quillory::fake {

// A text that is held here, with a base64 decoder of its own as strict as the engine's has to be.
class PlainText final : public Text {
public:
    explicit PlainText(std::string text)
        : m_text(std::move(text))
    {
    }
    std::string utf8() const override { return m_text; }
    std::shared_ptr<const Bytes> base64AfterFirstComma() const override;

private:
    std::string m_text;
};

// A message body written down in a test: {{"filename", "a.png"}, {"data", "…"}}.
class PlainValue final : public Value {
public:
    struct Number {
        double value;
    };
    using Array = std::vector<PlainValue>;
    using Object = std::map<std::string, PlainValue>;

    PlainValue() = default;
    PlainValue(bool value)
        : m_value(value)
    {
    }
    PlainValue(Number value)
        : m_value(value)
    {
    }
    PlainValue(const char* value)
        : m_value(std::make_shared<PlainText>(value))
    {
    }
    PlainValue(std::string value)
        : m_value(std::make_shared<PlainText>(std::move(value)))
    {
    }
    PlainValue(Array value);
    PlainValue(Object value);

    Kind kind() const override { return static_cast<Kind>(m_value.index()); }
    TextHandle text() const override;
    std::size_t size() const override;
    std::unique_ptr<Value> at(std::size_t index) const override;
    std::vector<std::string> keys() const override;
    std::unique_ptr<Value> at(const std::string& key) const override;

private:
    // In the order of `Kind`.
    std::variant<std::monostate, bool, Number, std::shared_ptr<PlainText>, std::shared_ptr<Array>,
                 std::shared_ptr<Object>>
        m_value;
};

}
