#pragma once

#include <gtk/gtk.h>
#include <webkit/webkit.h>

#include <chrono>
#include <deque>
#include <functional>

namespace quillory::gtk {

// Brings the page back when its process ends: it is loaded again at once. One that ends three times within a
// minute would only go on ending; a message with a button then stands in its place until the user asks for it.
// Main thread only.
class PageRecovery {
public:
    // `view` is in a box, or will be, and outlives this; `load` loads its page.
    PageRecovery(WebKitWebView* view, std::function<void()> load);
    PageRecovery(const PageRecovery&) = delete;
    PageRecovery& operator=(const PageRecovery&) = delete;

    void processEnded();

private:
    using Clock = std::chrono::steady_clock;

    void showMessage();
    void reload();

    WebKitWebView* m_view;
    std::function<void()> m_load;
    std::deque<Clock::time_point> m_ends; // within the last minute
    GtkWidget* m_message = nullptr; // belongs to the box, beside the view
};

}
