#pragma once

namespace quillory {

// Fires on the main thread until it is invalidated or released; rests while a modal alert is open.
class Timer {
public:
    virtual ~Timer() = default;
    virtual void invalidate() = 0;
};

}
