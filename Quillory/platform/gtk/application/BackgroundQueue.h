#pragma once

#include <glib.h>

#include <functional>
#include <memory>

namespace quillory::gtk {

// One thread for work that would keep the window from answering. Main thread only.
class BackgroundQueue {
public:
    // Returns at once. `work` is done on the thread, then `done` on the main thread.
    void add(std::function<void()> work, std::function<void()> done);

private:
    static void run(gpointer job, gpointer);
    // Nobody waits for its thread: a file system that does not answer would keep the program from ending.
    struct Free {
        void operator()(GThreadPool* pool) const { g_thread_pool_free(pool, TRUE, FALSE); }
    };

    std::unique_ptr<GThreadPool, Free> m_pool {g_thread_pool_new(run, nullptr, 1, FALSE, nullptr)};
};

}
