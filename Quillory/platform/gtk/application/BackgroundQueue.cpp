#include "platform/gtk/application/BackgroundQueue.h"

#include "platform/glib/BoxedFunction.h"

namespace quillory::gtk {

struct BackgroundQueue::Job {
    std::function<void()> work;
    std::function<void()> done;
};

void BackgroundQueue::add(std::function<void()> work, std::function<void()> done)
{
    // A thread that cannot be started now takes what waits when it can.
    g_thread_pool_push(m_pool.get(), std::make_unique<Job>(Job {std::move(work), std::move(done)}).release(), nullptr);
}

void BackgroundQueue::run(gpointer data, gpointer)
{
    using Done = BoxedFunction<void()>;
    const std::unique_ptr<Job> job(static_cast<Job*>(data));
    guarded(job->work);
    g_idle_add_full(G_PRIORITY_DEFAULT, Done::callOnce, Done::make(std::move(job->done)), Done::free);
}

}
