#include "platform/gtk/application/Timer.h"

#include <utility>

#include "platform/gtk/application/Application.h"

namespace quillory::gtk {

Timer::Timer(const Application& application, std::chrono::milliseconds interval, bool repeats,
             std::function<void()> block)
{
    m_timeout.start(interval, [&application, repeats, block = std::move(block)] {
        if (application.isModal())
            return true;
        block();
        return repeats;
    });
}

}
