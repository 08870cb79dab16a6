#pragma once

#include "web/WebView.h"

namespace quillory::web {

// The root view of the main window: the web view from edge to edge and nothing else.
class ContentView {
public:
    explicit ContentView(Platform& platform)
        : m_platform(platform)
    {
    }

    View body() const { return WebView(m_platform).body(); }

private:
    Platform& m_platform;
};

}
