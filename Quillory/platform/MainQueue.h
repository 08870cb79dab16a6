#pragma once

#include <chrono>
#include <functional>

namespace quillory {

// Work for later turns of the main thread, done in the order it was given. `async` may be called on
// any thread. Work that is still waiting when the application ends is dropped.
class MainQueue {
public:
    virtual ~MainQueue() = default;
    virtual void async(std::function<void()> work) = 0;
    virtual void asyncAfter(std::chrono::milliseconds delay, std::function<void()> work) = 0;
};

}
