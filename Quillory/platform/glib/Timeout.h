#pragma once

#include <chrono>
#include <functional>
#include <utility>

#include "platform/glib/BoxedFunction.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory {

// A function that the main context calls after an interval, and again while it returns true. Stopped by its
// end. Main thread only.
class Timeout {
public:
    // In place of the one before, if that is still under way.
    void start(std::chrono::milliseconds interval, std::function<bool()> function, int priority = G_PRIORITY_DEFAULT)
    {
        using Box = BoxedFunction<bool()>;
        const auto call = [](gpointer box) -> gboolean { return Box::of(box)() ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE; };
        m_source.reset(g_timeout_source_new(static_cast<guint>(interval.count())));
        g_source_set_priority(m_source.get(), priority);
        g_source_set_callback(m_source.get(), call, Box::make(std::move(function)), Box::free);
        g_source_attach(m_source.get(), nullptr);
    }
    // Also from within the function, which is freed when it returns.
    void stop() { m_source.reset(); }
    bool isUnderWay() const { return m_source && g_source_is_destroyed(m_source.get()) == 0; }

private:
    GSourcePtr m_source;
};

}
