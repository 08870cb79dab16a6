#include "platform/gtk/web/ScriptQueue.h"

#include <algorithm>
#include <utility>

#include "platform/glib/AsyncReady.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

namespace {

// One is being evaluated, one is on its way.
constexpr int mostPiecesUnderWay = 2;

// Where the page keeps what has come. It is gone when the page is loaded anew, and then the next piece
// fails instead of being taken for the whole.
constexpr std::string_view prepare =
    "Object.defineProperty(window, '__quilloryText', {value: [], configurable: true}); 0";
// The engine evaluates a script of exactly this form without compiling it, which would hash every text.
constexpr std::string_view pieceHead = "window.__quilloryText.push('";
constexpr std::string_view pieceTail = "');";
constexpr std::string_view wholeText =
    "(() => { const pieces = window.__quilloryText; delete window.__quilloryText; return pieces.join(''); })()";

// Nobody wants a script's value, and not every value can be handed over. With one that always can, no
// value means that the page's process did not live to the end of the script.
constexpr std::string_view plainValue = "\n0";

std::string describe(const GError& error)
{
    const bool hasNoValue = g_error_matches(&error, WEBKIT_JAVASCRIPT_ERROR, WEBKIT_JAVASCRIPT_ERROR_INVALID_RESULT);
    return std::string(g_quark_to_string(error.domain)) + " " + std::to_string(error.code) + ": "
        + (hasNoValue ? "the page's process has ended" : error.message);
}

using Evaluated = std::function<void(WebKitWebView* view, std::optional<std::string> error)>;

void send(WebKitWebView* view, std::string_view script, Evaluated completion)
{
    const auto evaluated = [completion = std::move(completion)](GObject* source, GAsyncResult* result) {
        auto* evaluator = WEBKIT_WEB_VIEW(source);
        GError* error = nullptr;
        const GObjectPtr<::JSCValue> value(webkit_web_view_evaluate_javascript_finish(evaluator, result, &error));
        const GErrorPtr owner(error);
        completion(evaluator, error == nullptr ? std::nullopt : std::optional(describe(*error)));
    };
    webkit_web_view_evaluate_javascript(view, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr,
                                        nullptr, AsyncReady::call, AsyncReady::make(evaluated));
}

Evaluated reportTo(ScriptQueue::Completion completion)
{
    return [completion = std::move(completion)](WebKitWebView*, auto error) { completion(std::move(error)); };
}

// Into a buffer that is used again and again.
std::string& join(std::string& script, std::string_view head, std::string_view text, std::string_view tail)
{
    script.assign(head);
    script += text;
    script += tail;
    return script;
}

}

// One script on its way in pieces.
struct ScriptQueue::Transfer {
    Entry entry;
    std::optional<std::string> next; // piece
    bool isLast = false; // the next one
    bool hasBegun = false;
    int piecesUnderWay = 0;
    std::string buffer;
};

void ScriptQueue::evaluate(WebKitWebView* view, Script script, Completion completion)
{
    m_waiting.push_back({std::move(script), std::move(completion)});
    sendWaiting(view);
}

void ScriptQueue::sendWaiting(WebKitWebView* view)
{
    while (!m_transfer && !m_waiting.empty()) {
        auto entry = std::move(m_waiting.front());
        m_waiting.pop_front();
        std::string text;
        if (entry.script.appendNext(text)) {
            m_transfer =
                std::make_shared<Transfer>(Transfer {.entry = std::move(entry), .next = std::move(text), .buffer = {}});
            return sendPieces(view);
        }
        std::string script;
        join(script, entry.script.head, text, entry.script.tail) += plainValue;
        send(view, script, reportTo(std::move(entry.completion)));
    }
}

void ScriptQueue::sendPieces(WebKitWebView* view)
{
    const auto transfer = m_transfer;
    const auto& script = transfer->entry.script;
    if (!std::exchange(transfer->hasBegun, true))
        send(view, prepare, [](auto*, const auto&) {});
    while (transfer->next && transfer->piecesUnderWay < mostPiecesUnderWay) {
        send(view, join(transfer->buffer, pieceHead, *transfer->next, pieceTail),
             [self = shared_from_this(), transfer](WebKitWebView* source, auto error) {
                 --transfer->piecesUnderWay;
                 self->pieceEvaluated(source, *transfer, std::move(error));
             });
        ++transfer->piecesUnderWay;
        if (transfer->isLast) {
            transfer->next.reset();
        } else {
            transfer->next->clear();
            transfer->isLast = !script.appendNext(*transfer->next);
        }
    }
    if (transfer->next)
        return;
    // What became of the last pieces shows in the call, which cannot do without them.
    const auto head = script.head.substr(0, script.head.size() - 1);
    join(transfer->buffer, head, wholeText, script.tail.substr(1)) += plainValue;
    send(view, transfer->buffer, reportTo(std::move(transfer->entry.completion)));
    m_transfer.reset();
    sendWaiting(view);
}

void ScriptQueue::pieceEvaluated(WebKitWebView* view, const Transfer& transfer, std::optional<std::string> error)
{
    if (&transfer != m_transfer.get())
        return;
    if (!error)
        return sendPieces(view);
    const auto completion = std::move(m_transfer->entry.completion);
    m_transfer.reset();
    completion(std::move(error));
    sendWaiting(view);
}

}
