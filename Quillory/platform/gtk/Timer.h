#pragma once

#include <glibmm/main.h>
#include <sigc++/scoped_connection.h>

#include <chrono>
#include <functional>

#include "platform/Timer.h"

namespace quillory::gtk {

class Application;

class Timer final : public quillory::Timer {
public:
    // `application` knows whether a modal alert is open.
    Timer(const Application& application, std::chrono::milliseconds interval, bool repeats, std::function<void()> block);

    void invalidate() override;

private:
    sigc::scoped_connection m_connection;
};

}
