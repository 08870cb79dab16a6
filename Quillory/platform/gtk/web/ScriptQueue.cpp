#include "platform/gtk/web/ScriptQueue.h"

#include <algorithm>
#include <utility>

#include "platform/glib/AsyncReady.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

namespace {

constexpr std::size_t pieceSize = 1 << 20;
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

bool isEscaped(std::string_view text, std::size_t position)
{
    std::size_t backslashes = 0;
    while (backslashes < position && text[position - backslashes - 1] == '\\')
        ++backslashes;
    return backslashes % 2 == 1;
}

bool continuesCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

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
    LiteralCall call;
    std::size_t sent = 0;
    int piecesUnderWay = 0;
    std::string buffer;
};

std::optional<LiteralCall> literalCall(std::string_view script)
{
    constexpr std::string_view end = "');";
    const auto start = script.find('\'');
    if (start == std::string_view::npos || !script.ends_with(end) || script.size() - end.size() <= start)
        return std::nullopt;
    const auto text = script.substr(start + 1, script.size() - end.size() - start - 1);
    if (isEscaped(text, text.size()))
        return std::nullopt;
    for (auto quote = text.find('\''); quote != std::string_view::npos; quote = text.find('\'', quote + 1)) {
        if (!isEscaped(text, quote))
            return std::nullopt;
    }
    return LiteralCall {script.substr(0, start), text, script.substr(script.size() - end.size() + 1)};
}

std::size_t literalPieceLength(std::string_view text, std::size_t limit)
{
    if (text.size() <= limit)
        return text.size();
    std::size_t length = limit;
    while (length > 0 && continuesCharacter(text[length]))
        --length;
    if (length > 0 && isEscaped(text, length))
        --length;
    return length > 0 ? length : text.size();
}

void ScriptQueue::evaluate(WebKitWebView* view, std::string script, Completion completion)
{
    m_waiting.push_back({std::move(script), std::move(completion)});
    sendWaiting(view);
}

void ScriptQueue::sendWaiting(WebKitWebView* view)
{
    while (!m_transfer && !m_waiting.empty()) {
        auto entry = std::move(m_waiting.front());
        m_waiting.pop_front();
        if (entry.script.size() > pieceSize) {
            m_transfer = std::make_shared<Transfer>(Transfer {.entry = std::move(entry), .call = {}, .buffer = {}});
            if (const auto call = literalCall(m_transfer->entry.script)) {
                m_transfer->call = *call;
                return sendPieces(view);
            }
            entry = std::move(std::exchange(m_transfer, nullptr)->entry);
        }
        entry.script += plainValue;
        send(view, entry.script, reportTo(std::move(entry.completion)));
    }
}

void ScriptQueue::sendPieces(WebKitWebView* view)
{
    const auto transfer = m_transfer;
    const auto& [head, text, tail] = transfer->call;
    while (transfer->sent < text.size() && transfer->piecesUnderWay < mostPiecesUnderWay) {
        const auto rest = text.substr(transfer->sent);
        const auto piece = rest.substr(0, literalPieceLength(rest, pieceSize));
        if (transfer->sent == 0)
            send(view, prepare, [](auto*, const auto&) {});
        send(view, join(transfer->buffer, pieceHead, piece, pieceTail),
             [self = shared_from_this(), transfer](WebKitWebView* source, auto error) {
                 --transfer->piecesUnderWay;
                 self->pieceEvaluated(source, *transfer, std::move(error));
             });
        transfer->sent += piece.size();
        ++transfer->piecesUnderWay;
    }
    if (transfer->sent < text.size())
        return;
    // What became of the last pieces shows in the call, which cannot do without them.
    join(transfer->buffer, head, wholeText, tail) += plainValue;
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
