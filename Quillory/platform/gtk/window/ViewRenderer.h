#pragma once

#include <gtk/gtk.h>

#include <cmath>
#include <memory>

#include "platform/View.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

class WebView;

// The widgets of one view value and what they need to stay alive.
struct RenderedView {
    GObjectPtr<GtkWidget> widget;
    std::shared_ptr<WebView> webView {}; // the hosted web view, if the view is one
};

// The nearest whole number of logical pixels.
inline int pixels(double length)
{
    return static_cast<int>(std::lround(length));
}

RenderedView renderView(const View& view);

}
