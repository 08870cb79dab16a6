#pragma once

#include <memory>

#include "platform/Platform.h"
#include "platform/View.h"

namespace quillory::web {

// The wrapper that makes the one web view in which the editor page runs.
class WebView {
public:
    class Coordinator;

    struct Context {
        std::shared_ptr<Coordinator> coordinator;
    };

    explicit WebView(Platform& platform)
        : m_platform(platform)
    {
    }

    std::shared_ptr<Coordinator> makeCoordinator() const;
    // Configures the web view, connects it to the coordinator and starts loading the page. Without a
    // page the view stays empty.
    std::shared_ptr<quillory::WebView> makeNSView(const Context& context) const;

    View body() const;

private:
    Platform& m_platform;
};

}
