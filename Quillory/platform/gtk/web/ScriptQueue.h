#pragma once

#include <webkit/webkit.h>

#include <deque>
#include <memory>
#include <optional>
#include <string>

#include "platform/WebView.h"

namespace quillory::gtk {

// Hands scripts to the page in their order. The engine holds several copies of a script on its way, so
// a call with a long text goes there in pieces, which the page puts together: what is on its way is then
// a few MiB, however long the text is, and the page's process works on one piece while this one
// prepares the next. Main thread only.
class ScriptQueue : public std::enable_shared_from_this<ScriptQueue> {
public:
    using Completion = quillory::WebView::EvaluationCompletion;

    // `completion` is called once, on a later turn.
    void evaluate(WebKitWebView* view, Script script, Completion completion);

private:
    struct Entry {
        Script script;
        Completion completion;
    };
    struct Transfer;

    void sendWaiting(WebKitWebView* view);
    void sendPieces(WebKitWebView* view);
    void pieceEvaluated(WebKitWebView* view, const Transfer& transfer, std::optional<std::string> error);

    std::deque<Entry> m_waiting;
    std::shared_ptr<Transfer> m_transfer;
};

}
