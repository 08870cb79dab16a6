#pragma once

#include <jsc/jsc.h>

#include <optional>

#include "platform/Value.h"
#include "platform/gtk/GObjectPtr.h"

namespace quillory::gtk {

// A text that stays in the engine.
class JSCText final : public Text {
public:
    explicit JSCText(GObjectPtr<::JSCValue> value)
        : m_value(std::move(value))
    {
    }

    std::string utf8() const override;
    std::unique_ptr<const Bytes> base64AfterFirstComma() const override;

private:
    GObjectPtr<::JSCValue> m_value;
};

// A value that the engine delivered.
class JSCValue final : public Value {
public:
    explicit JSCValue(GObjectPtr<::JSCValue> value)
        : m_value(std::move(value))
    {
    }

    Kind kind() const override;
    TextHandle text() const override;
    std::size_t size() const override;
    std::unique_ptr<Value> at(std::size_t index) const override;
    std::vector<std::string> keys() const override;
    std::unique_ptr<Value> at(const std::string& key) const override;

private:
    static Kind kindOf(::JSCValue* value);

    GObjectPtr<::JSCValue> m_value;
    mutable std::optional<Kind> m_kind; // telling an object from a date is a script of its own
};

}
