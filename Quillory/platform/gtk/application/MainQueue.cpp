#include "platform/gtk/application/MainQueue.h"

#include <glib.h>

#include "platform/glib/BoxedFunction.h"

namespace quillory::gtk {

namespace {

using Work = BoxedFunction<void()>;

}

void MainQueue::async(std::function<void()> work)
{
    g_idle_add_full(G_PRIORITY_DEFAULT, Work::callOnce, Work::make(std::move(work)), Work::free);
}

void MainQueue::asyncAfter(std::chrono::milliseconds delay, std::function<void()> work)
{
    g_timeout_add_full(G_PRIORITY_DEFAULT, static_cast<guint>(delay.count()), Work::callOnce,
                       Work::make(std::move(work)), Work::free);
}

}
