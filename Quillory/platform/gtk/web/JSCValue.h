#pragma once

#include <jsc/jsc.h>

#include <memory>
#include <string>

#include "platform/Value.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/gtk/web/JSCTextFunctions.h"

namespace quillory::gtk {

// A text that stays in the engine.
class JSCText final : public Text {
public:
    JSCText(GObjectPtr<::JSCValue> value, std::shared_ptr<JSCTextFunctions> functions)
        : m_value(std::move(value))
        , m_functions(std::move(functions))
    {
    }

    std::string utf8() const override;
    std::shared_ptr<const Bytes> base64AfterFirstComma() const override;

private:
    GObjectPtr<::JSCValue> m_value;
    std::shared_ptr<JSCTextFunctions> m_functions;
};

// A value that the engine delivered.
class JSCValue final : public Value {
public:
    JSCValue(GObjectPtr<::JSCValue> value, std::shared_ptr<JSCTextFunctions> functions)
        : m_value(std::move(value))
        , m_functions(std::move(functions))
    {
    }

    TextHandle text() const override;
    std::size_t size() const override;
    std::unique_ptr<Value> at(std::size_t index) const override;
    bool holdsStringObjects() const override { return m_functions->holdsStringObjects(m_value.get()); }
    bool isStringObject() const override { return m_functions->isStringObject(m_value.get()); }
    std::unique_ptr<Value> at(const std::string& key) const override;

private:
    GObjectPtr<::JSCValue> m_value;
    std::shared_ptr<JSCTextFunctions> m_functions;
};

}
