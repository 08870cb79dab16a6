#pragma once

#include <chrono>
#include <functional>

#include "platform/Timer.h"
#include "platform/glib/Timeout.h"

namespace quillory::gtk {

class Application;

class Timer final : public quillory::Timer {
public:
    // `application` knows whether a modal alert is open.
    Timer(const Application& application, std::chrono::milliseconds interval, bool repeats,
          std::function<void()> block);

    void invalidate() override { m_timeout.stop(); }

private:
    Timeout m_timeout;
};

}
