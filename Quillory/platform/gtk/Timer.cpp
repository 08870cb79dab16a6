#include "platform/gtk/Timer.h"

#include "platform/gtk/Application.h"

namespace quillory::gtk {

Timer::Timer(const Application& application, std::chrono::milliseconds interval, bool repeats,
             std::function<void()> block)
    : m_connection(Glib::signal_timeout().connect(
        [&application, repeats, block = std::move(block)] {
            if (application.isModal())
                return true;
            // The block may release this timer, and the closure with it.
            const auto firing = block;
            const bool again = repeats;
            firing();
            return again;
        },
        static_cast<unsigned>(interval.count())))
{
}

Timer::~Timer()
{
    m_connection.disconnect();
}

void Timer::invalidate()
{
    m_connection.disconnect();
}

}
