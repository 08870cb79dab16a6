#include "services/Clipboard.h"

#include "services/DataURL.h"

namespace quillory {

bool looksLikeCanvasJSON(std::string_view text)
{
    const auto contains = [&](std::string_view word) { return text.find(word) != std::string_view::npos; };
    return contains("\"type\"") && (contains("\"left\"") || contains("\"objects\""));
}

Clipboard::Clipboard(Platform& platform, std::weak_ptr<Page> page)
    : m_platform(platform)
    , m_page(std::move(page))
{
}

void Clipboard::handleNativeCopy(const ScriptMessage& message)
{
    const auto data = message.body->at("data")->text();
    if (!data || !message.body->isStringObject()) {
        m_platform.log().print("❌ Invalid copy message");
        return;
    }
    auto& pasteboard = m_platform.generalPasteboard();
    pasteboard.clearContents();
    pasteboard.setString(data, PasteboardType::object);
    pasteboard.setString(data, PasteboardType::string);
    m_platform.log().print("📋 Copied to native pasteboard");
}

void Clipboard::handleNativePaste()
{
    m_pastes.push_back(m_platform.generalPasteboard().read());
    if (m_pastes.size() == 1)
        pasteObject();
}

void Clipboard::pasteObject()
{
    // Ends the paste with the last who may still answer it: also one that had to be given up, for want of memory,
    // must not keep those behind it waiting.
    const Turn turn(this, [self = shared_from_this()](Clipboard*) { self->pasteEnded(); });
    m_pastes.front()->stringForType(PasteboardType::object, [this, turn](auto text) {
        if (!text)
            return pasteCanvasText(turn);
        if (const auto page = m_page.lock())
            page->sendPasteContentToPage(std::move(*text));
        m_platform.log().print("📥 Pasted Quillory object from pasteboard");
    });
}

void Clipboard::pasteCanvasText(const Turn& turn)
{
    m_pastes.front()->stringForType(PasteboardType::string, [this, turn](auto text) {
        if (!text || !looksLikeCanvasJSON(*text))
            return pasteImage(turn);
        if (const auto page = m_page.lock())
            page->sendPasteContentToPage(std::move(*text));
        m_platform.log().print("📥 Pasted JSON object from pasteboard");
    });
}

void Clipboard::pasteImage(const Turn& turn)
{
    m_pastes.front()->imageAsPNG([this, turn](auto png) {
        if (!png)
            return;
        if (const auto page = m_page.lock())
            page->sendImageToPage({ContentTypes::png.mimeType, std::move(png)});
        m_platform.log().print("📥 Pasted image from pasteboard");
    });
}

void Clipboard::pasteEnded()
{
    m_pastes.pop_front();
    if (!m_pastes.empty())
        m_platform.mainQueue().async([self = shared_from_this()] { self->pasteObject(); });
}

}
