#include "platform/hotkey/XcbSource.h"

#include <utility>

namespace quillory {

struct XcbSource::Source {
    GSource base;
    XcbSource* owner;
};

struct XcbSource::Functions {
    static XcbSource& owner(GSource* source) { return *reinterpret_cast<Source*>(source)->owner; }

    static gboolean prepare(GSource* source, gint* timeout)
    {
        *timeout = -1;
        XcbSource& self = owner(source);
        if (!self.m_queued)
            self.m_queued.reset(xcb_poll_for_queued_event(self.m_connection));
        return self.m_queued != nullptr;
    }

    static gboolean check(GSource* source)
    {
        const XcbSource& self = owner(source);
        return self.m_queued != nullptr || self.m_descriptor.revents != 0;
    }

    static gboolean dispatch(GSource* source, GSourceFunc, gpointer) { return owner(source).dispatch(); }

    static inline GSourceFuncs table {&prepare, &check, &dispatch, nullptr, nullptr, nullptr};
};

XcbSource::XcbSource(xcb_connection_t* connection, Handlers handlers)
    : m_connection(connection)
    , m_handlers(std::move(handlers))
    , m_descriptor {xcb_get_file_descriptor(connection), G_IO_IN | G_IO_HUP | G_IO_ERR, 0}
    , m_source(reinterpret_cast<Source*>(g_source_new(&Functions::table, sizeof(Source))))
{
    m_source->owner = this;
    g_source_set_name(&m_source->base, "hotkey X connection");
    // The whole session's keyboard may be waiting for the answer.
    g_source_set_priority(&m_source->base, G_PRIORITY_HIGH);
    g_source_add_poll(&m_source->base, &m_descriptor);
    g_source_attach(&m_source->base, nullptr);
}

XcbSource::~XcbSource()
{
    g_source_destroy(&m_source->base);
    g_source_unref(&m_source->base);
}

gboolean XcbSource::dispatch()
{
    auto event = std::move(m_queued);
    if (!event)
        event.reset(xcb_poll_for_event(m_connection));
    while (event) {
        m_handlers.event(*event);
        event.reset(xcb_poll_for_event(m_connection));
    }
    if (xcb_connection_has_error(m_connection) != 0)
        return G_SOURCE_REMOVE;
    m_handlers.drained();
    return G_SOURCE_CONTINUE;
}

}
