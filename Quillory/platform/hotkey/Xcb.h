#pragma once

#include <cstdlib>
#include <memory>

#include <xcb/xcb.h>

#include "support/FreedBy.h"

namespace quillory {

using XcbConnection = std::unique_ptr<xcb_connection_t, FreedBy<xcb_disconnect>>;
// Replies, events and errors come from malloc.
template<typename T> using XcbMemory = std::unique_ptr<T, FreedBy<std::free>>;

}
