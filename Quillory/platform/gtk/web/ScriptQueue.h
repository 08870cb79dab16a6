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

    // The view holds itself while it has scripts to evaluate, and lives at least until the last call of `evaluate`.
    explicit ScriptQueue(WebKitWebView* view)
        : m_view(view)
    {
    }

    // `completion` is called once, on a later turn.
    void evaluate(Script script, Completion completion);

private:
    struct Call;

    void sendCalls();
    void sendPieces();
    void pieceEvaluated(const Call& call, std::optional<std::string> error);

    WebKitWebView* m_view;
    std::deque<std::shared_ptr<Call>> m_calls; // the first is on its way
};

}
