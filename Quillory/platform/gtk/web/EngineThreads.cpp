#include "platform/gtk/web/EngineThreads.h"

#include <sched.h>

#include <charconv>
#include <filesystem>
#include <string>

namespace quillory::gtk {

void takeRealTimePriorityFromThreads()
{
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task", error)) {
        const auto name = entry.path().filename().string();
        pid_t thread = 0;
        std::from_chars(name.data(), name.data() + name.size(), thread);
        const int policy = sched_getscheduler(thread) & ~SCHED_RESET_ON_FORK;
        // Only root may take the flag away again.
        const sched_param priority {};
        if (policy == SCHED_RR || policy == SCHED_FIFO)
            sched_setscheduler(thread, SCHED_OTHER | SCHED_RESET_ON_FORK, &priority);
    }
}

}
