#pragma once

namespace quillory {

// Another process of the same program and the same user.
class RunningApplication {
public:
    virtual ~RunningApplication() = default;
    // Asks it to come to the front, handing on the right to take the focus that came with this
    // process's launch. Waits until the request is delivered, half a second at most; failure is not
    // reported.
    virtual void activate() = 0;
};

}
