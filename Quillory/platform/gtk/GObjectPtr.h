#pragma once

#include <glib-object.h>

#include <memory>

namespace quillory::gtk {

struct GObjectUnref {
    void operator()(gpointer object) const { g_object_unref(object); }
};

// Owns one reference to an object of a C library that has no C++ binding.
template<typename T> using GObjectPtr = std::unique_ptr<T, GObjectUnref>;

// Takes a further reference to an object that somebody else owns.
template<typename T> GObjectPtr<T> retain(T* object)
{
    return GObjectPtr<T>(object != nullptr ? static_cast<T*>(g_object_ref(object)) : nullptr);
}

struct GErrorFree {
    void operator()(GError* error) const { g_error_free(error); }
};
using GErrorPtr = std::unique_ptr<GError, GErrorFree>;

struct GBytesUnref {
    void operator()(GBytes* bytes) const { g_bytes_unref(bytes); }
};
using GBytesPtr = std::unique_ptr<GBytes, GBytesUnref>;

struct GFree {
    void operator()(gpointer memory) const { g_free(memory); }
};
using GStringPtr = std::unique_ptr<char, GFree>;

}
