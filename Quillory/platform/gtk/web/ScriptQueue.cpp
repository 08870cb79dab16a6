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

void send(WebKitWebView* view, std::string_view script, ScriptQueue::Completion completion)
{
    const auto evaluated = [completion = std::move(completion)](GObject* source, GAsyncResult* result) {
        GError* error = nullptr;
        const GObjectPtr<::JSCValue> value(
            webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error));
        const GErrorPtr owner(error);
        completion(error == nullptr ? std::nullopt : std::optional(describe(*error)));
    };
    webkit_web_view_evaluate_javascript(view, script.data(), static_cast<gssize>(script.size()), nullptr, nullptr,
                                        nullptr, AsyncReady::call, AsyncReady::make(evaluated));
}

}

// One call of a function of the page, which is on its way, in pieces, or waits for those before it.
struct ScriptQueue::Call {
    Script script;
    Completion completion;
    std::string buffer {}; // the next piece, but for its tail; empty behind the last
    bool hasMore = true; // of the text, behind that
    int piecesUnderWay = 0;
};

void ScriptQueue::evaluate(Script script, Completion completion)
{
    m_calls.push_back(std::make_shared<Call>(Call {std::move(script), std::move(completion)}));
    if (m_calls.size() == 1)
        sendCalls();
}

void ScriptQueue::sendCalls()
{
    while (!m_calls.empty()) {
        const auto call = m_calls.front();
        auto& buffer = call->buffer;
        buffer = call->script.head;
        call->hasMore = call->script.appendNext(buffer);
        if (call->hasMore) {
            send(m_view, prepare, [](const auto&) {});
            buffer.replace(0, call->script.head.size(), pieceHead);
            return sendPieces();
        }
        buffer.append(call->script.tail).append(plainValue);
        send(m_view, buffer, std::move(call->completion));
        m_calls.pop_front();
    }
}

void ScriptQueue::sendPieces()
{
    const auto call = m_calls.front();
    auto& buffer = call->buffer;
    while (!buffer.empty() && call->piecesUnderWay < mostPiecesUnderWay) {
        ++call->piecesUnderWay;
        send(m_view, buffer.append(pieceTail), [self = shared_from_this(), call](auto error) {
            --call->piecesUnderWay;
            self->pieceEvaluated(*call, std::move(error));
        });
        // The next one is there when the page is ready for it.
        buffer = call->hasMore ? pieceHead : "";
        call->hasMore = call->hasMore && call->script.appendNext(buffer);
    }
    if (!buffer.empty())
        return;
    // What became of the last pieces shows in the call, which cannot do without them.
    const auto& [head, appendNext, tail] = call->script;
    buffer = head.substr(0, head.size() - 1);
    buffer.append(wholeText).append(tail.substr(1)).append(plainValue);
    send(m_view, buffer, std::move(call->completion));
    m_calls.pop_front();
    sendCalls();
}

void ScriptQueue::pieceEvaluated(const Call& call, std::optional<std::string> error)
{
    if (m_calls.empty() || m_calls.front().get() != &call)
        return;
    if (!error)
        return sendPieces();
    const auto completion = std::move(m_calls.front()->completion);
    m_calls.pop_front();
    sendCalls();
    completion(std::move(error));
}

}
