#include "platform/gtk/MainQueue.h"

#include <glib.h>

#include "platform/gtk/BoxedFunction.h"

namespace quillory::gtk {

namespace {

using Work = BoxedFunction<void()>;

}

void MainQueue::async(std::function<void()> work)
{
    // Before the window system's events: bringing the window to the front is not to wait until those are handled.
    g_idle_add_full(G_PRIORITY_HIGH, Work::callOnce, Work::make(std::move(work)), Work::free);
}

void MainQueue::asyncAfter(std::chrono::milliseconds delay, std::function<void()> work)
{
    g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()), Work::callOnce,
                       Work::make(std::move(work)), Work::free);
}

}
