#pragma once

#include <glib-object.h>

#include <memory>

#include "support/FreedBy.h"

namespace quillory {

// Owns one reference to an object of a C library.
template<typename T> using GObjectPtr = std::unique_ptr<T, FreedBy<g_object_unref>>;

// Takes a further reference to an object that somebody else owns.
template<typename T> GObjectPtr<T> retain(T* object)
{
    return GObjectPtr<T>(object != nullptr ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

// Takes the reference that nobody owns yet: that of a widget which was just made.
template<typename T> GObjectPtr<T> sink(T* floating)
{
    return GObjectPtr<T>(static_cast<T*>(g_object_ref_sink(floating)));
}

using GErrorPtr = std::unique_ptr<GError, FreedBy<g_error_free>>;
using GBytesPtr = std::unique_ptr<GBytes, FreedBy<g_bytes_unref>>;
using GVariantPtr = std::unique_ptr<GVariant, FreedBy<g_variant_unref>>;
using GMainContextPtr = std::unique_ptr<GMainContext, FreedBy<g_main_context_unref>>;
using GStringPtr = std::unique_ptr<char, FreedBy<g_free>>;

// Owns an event source, which is taken off its context with it.
struct GSourceDestroy {
    void operator()(GSource* source) const
    {
        g_source_destroy(source);
        g_source_unref(source);
    }
};
using GSourcePtr = std::unique_ptr<GSource, GSourceDestroy>;

}
