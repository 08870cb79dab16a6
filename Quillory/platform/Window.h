#pragma once

#include <string>

#include "platform/Screen.h"
#include "platform/View.h"

namespace quillory {

class Window;

class WindowDelegate {
public:
    virtual ~WindowDelegate() = default;

    // The user asks to close `sender`. False keeps the window; true closes it, which for every window
    // of this program means that it is no longer shown and can be shown again.
    virtual bool windowShouldClose(Window& sender) = 0;
};

enum WindowStyleMask : unsigned {
    windowTitled = 1,
    windowClosable = 2,
    windowMiniaturizable = 4,
    windowResizable = 8,
};

// One window. Closing never destroys it: whoever holds the object decides that. Main thread only.
class Window {
public:
    virtual ~Window() = default;

    virtual void setTitle(const std::string& title) = 0;
    // Renders `content` below the menu bar, if the window has one.
    virtual void setContentView(const FramedView& content) = 0;
    // The content cannot be made smaller, by the user neither.
    virtual void setContentMinSize(Size size) = 0;
    // Where the window system lets a client place itself; elsewhere it is the window manager's choice.
    virtual void center() = 0;
    // `delegate` must outlive the window.
    virtual void setDelegate(WindowDelegate* delegate) = 0;

    virtual void makeKeyAndOrderFront() = 0;
    // To the front whatever other application has the focus, at the latest with the makeKeyAndOrderFront
    // that follows.
    virtual void orderFrontRegardless() = 0;
    virtual void orderOut() = 0;
    virtual void setIsVisible(bool visible) = 0;
    virtual bool isMiniaturized() const = 0;
    virtual void deminiaturize() = 0;
};

}
