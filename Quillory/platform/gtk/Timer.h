#pragma once

#include <glibmm/main.h>
#include <sigc++/connection.h>

#include <chrono>
#include <functional>

#include "platform/Timer.h"

namespace quillory::gtk {

class Application;

class Timer final : public quillory::Timer {
public:
    // `application` knows whether a modal alert is open.
    Timer(const Application& application, std::chrono::milliseconds interval, bool repeats,
          std::function<void()> block);

    ~Timer() override;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    void invalidate() override;

private:
    sigc::connection m_connection;
};

}
