#pragma once

#include <functional>

#include <glib.h>

#include "platform/hotkey/Xcb.h"

namespace quillory {

// Reads an X connection on GLib's default main context: sleeps until the server sends something, and
// misses nothing that another request's reply brought in. Main thread only.
class XcbSource {
public:
    struct Handlers {
        std::function<void(const xcb_generic_event_t&)> event;
        // All that has arrived so far has been handled.
        std::function<void()> drained;
    };

    // `connection` must outlive the source. A connection that breaks is watched no longer.
    XcbSource(xcb_connection_t* connection, Handlers handlers);
    ~XcbSource();
    XcbSource(const XcbSource&) = delete;
    XcbSource& operator=(const XcbSource&) = delete;

private:
    struct Functions;
    struct Source;

    gboolean dispatch();

    xcb_connection_t* m_connection;
    Handlers m_handlers;
    XcbMemory<xcb_generic_event_t> m_queued;
    GPollFD m_descriptor;
    Source* m_source;
};

}
