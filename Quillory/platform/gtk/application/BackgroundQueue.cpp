#include "platform/gtk/application/BackgroundQueue.h"

#include "platform/glib/BoxedFunction.h"
#include "platform/gtk/application/MainQueue.h"

namespace quillory::gtk {

using Job = BoxedFunction<void()>;

void BackgroundQueue::add(std::function<void()> work, std::function<void()> done)
{
    auto job = [work = std::move(work), done = std::move(done)]() mutable {
        guarded(work);
        MainQueue().async(std::move(done));
    };
    // A thread that cannot be started now takes what waits when it can.
    g_thread_pool_push(m_pool.get(), Job::make(std::move(job)), nullptr);
}

void BackgroundQueue::run(gpointer job, gpointer)
{
    Job::take(job)();
}

}
