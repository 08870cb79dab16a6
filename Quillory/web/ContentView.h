#pragma once

#include "platform/Platform.h"
#include "platform/View.h"

namespace quillory::web {

// The root view of the main window: the web view from edge to edge and nothing else.
class ContentView {
public:
    explicit ContentView(Platform& platform)
        : m_platform(platform)
    {
    }

    View body() const;

private:
    Platform& m_platform;
};

}
