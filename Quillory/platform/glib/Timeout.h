#pragma once

#include <chrono>
#include <functional>

#include "platform/glib/GObjectPtr.h"

namespace quillory {

// A function that the main context calls after an interval, and again while it returns true. Stopped by its
// end. Main thread only.
class Timeout {
public:
    // In place of the one before, if that is still under way.
    void start(std::chrono::milliseconds interval, std::function<bool()> function);
    // Also from within the function, which is freed when it returns.
    void stop() { m_source.reset(); }
    bool isUnderWay() const { return m_source && g_source_is_destroyed(m_source.get()) == 0; }

private:
    GSourcePtr m_source;
};

}
