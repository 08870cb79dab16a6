#pragma once

#include <memory>

#include "QuilloryApp/AppDelegate.h"
#include "platform/Platform.h"

namespace quillory {

// The program's top level: which delegate runs it and which menu commands it replaces. It declares no
// window; the delegate makes them all.
class QuilloryApp {
public:
    // Runs the program on a platform to its end; returns the exit status.
    static int main(Platform& platform);

    Scene body() const;

private:
    explicit QuilloryApp(Platform& platform);

    std::shared_ptr<AppDelegate> appDelegate;
};

}
