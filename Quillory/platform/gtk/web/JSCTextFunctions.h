#pragma once

#include <jsc/jsc.h>

#include <initializer_list>
#include <vector>

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
    ~JSCTextFunctions();
    JSCTextFunctions(const JSCTextFunctions&) = delete;
    JSCTextFunctions& operator=(const JSCTextFunctions&) = delete;

    JSCContext* context() const { return m_context.get(); }

    // `text` with U+FFFD for every unpaired surrogate.
    GObjectPtr<::JSCValue> wellFormed(::JSCValue* text);
    // An array of the bytes that the base64 text after the first comma stands for, or null if there is no
    // comma or that is no strict base64.
    GObjectPtr<::JSCValue> decodedAfterFirstComma(::JSCValue* text);
    // Frees the memory of such an array, or keeps it for the next one if it is small: the system takes as long to
    // hand out memory as the engine to decode into it.
    void giveBack(::JSCValue* array);

private:
    GObjectPtr<::JSCValue> call(GObjectPtr<::JSCValue>& function, const char* name,
                                std::initializer_list<::JSCValue*> arguments);
    GObjectPtr<::JSCValue> compiled() const;

    GObjectPtr<JSCContext> m_context;
    // Looked up when they are first called.
    GObjectPtr<::JSCValue> m_wellFormed;
    GObjectPtr<::JSCValue> m_decoded;
    // Buffers that no array uses.
    std::vector<GObjectPtr<::JSCValue>> m_spares;
};

}
