#pragma once

#include <glib-object.h>

#include <memory>

namespace quillory {

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

// Owns one reference to an object of a C library.
template<typename T> using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

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

struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;

struct GBytesUnref {
    void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
};
using GBytesPtr = std::unique_ptr<GBytes, GBytesUnref>;

struct GVariantUnref {
    void operator()(GVariant* value) const { g_variant_unref(value); }
};
using GVariantPtr = std::unique_ptr<GVariant, GVariantUnref>;

struct GMainContextUnref {
    void operator()(GMainContext* context) const { g_main_context_unref(context); }
};
using GMainContextPtr = std::unique_ptr<GMainContext, GMainContextUnref>;

// Owns an event source, which is taken off its context with it.
struct GSourceDestroy {
    void operator()(GSource* source) const
    {
        g_source_destroy(source);
        g_source_unref(source);
    }
};
using GSourcePtr = std::unique_ptr<GSource, GSourceDestroy>;

struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};
using GStringPtr = std::unique_ptr<char, GFree>;

}
