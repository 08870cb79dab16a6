#pragma once

#include <jsc/jsc.h>

#include <memory>
#include <vector>

#include "platform/Text.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

// What the engine does with texts for us. Its functions are compiled once for each context, and looked up
// there once for each object of this class. Main thread only.
class JSCTextFunctions {
public:
    // Keeps `context` alive.
    explicit JSCTextFunctions(JSCContext* context)
        : m_context(retain(context))
    {
    }

    JSCContext* context() const { return m_context.get(); }

    // See Value.
    bool isStringObject(::JSCValue* value);
    bool holdsStringObjects(::JSCValue* list);
    // `text` with U+FFFD for every unpaired surrogate. Throws std::bad_alloc if there is no memory for it.
    GObjectPtr<::JSCValue> wellFormed(::JSCValue* text);
    // The bytes that the base64 text after the first comma stands for, or null if there is no comma, that is no
    // strict base64, or there is no memory for them. They are not the engine's: freed with their last holder.
    std::shared_ptr<const Bytes> decodedAfterFirstComma(::JSCValue* text);

private:
    GObjectPtr<::JSCValue> call(const char* name, std::vector<::JSCValue*> arguments);
    GObjectPtr<::JSCValue> compiled() const;

    GObjectPtr<JSCContext> m_context;
    GObjectPtr<::JSCValue> m_functions; // once one of them was called
};

}
