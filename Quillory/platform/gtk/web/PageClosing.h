#pragma once

#include <webkit/webkit.h>

#include <functional>

namespace quillory::gtk {

// Tells the page that it ends, with the event "pagehide" as for any other end, and calls `closed` once what it then
// keeps in its databases is written. Leaving the page instead would stop those writes midway. A page that hangs
// never answers.
void closePage(WebKitWebView* view, std::function<void()> closed);

}
