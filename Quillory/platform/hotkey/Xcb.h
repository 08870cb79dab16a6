#pragma once

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

namespace quillory {

struct XcbDisconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using XcbConnection = std::unique_ptr<xcb_connection_t, XcbDisconnect>;

// Replies, events and errors come from malloc.
struct XcbFree {
    void operator()(void* memory) const { std::free(memory); } // NOLINT(cppcoreguidelines-no-malloc): this is the RAII
};
template<typename T> using XcbMemory = std::unique_ptr<T, XcbFree>;

}
