#pragma once

#include <gtkmm/widget.h>

#include <memory>

#include "platform/View.h"

namespace quillory::gtk {

class WebView;

// The widgets of one view value and what they need to stay alive.
struct RenderedView {
    std::unique_ptr<Gtk::Widget> widget;
    std::shared_ptr<WebView> webView; // the hosted web view, if the view is one
};

RenderedView renderView(const View& view);

}
