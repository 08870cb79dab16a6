#include "services/Clipboard.h"

#include "services/DataURL.h"
#include "services/StringObject.h"

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
    const auto body = readStringObject(*message.body);
    const auto data = body ? textForKey(*body, "data") : nullptr;
    if (!data) {
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
    m_pastes.front()->stringForType(PasteboardType::object, [self = shared_from_this()](auto text) {
        if (!text)
            return self->pasteCanvasText();
        if (const auto page = self->m_page.lock())
            page->sendPasteContentToPage(std::move(*text));
        self->m_platform.log().print("📥 Pasted Quillory object from pasteboard");
        self->pasteEnded();
    });
}

void Clipboard::pasteCanvasText()
{
    m_pastes.front()->stringForType(PasteboardType::string, [self = shared_from_this()](auto text) {
        if (!text || !looksLikeCanvasJSON(*text))
            return self->pasteImage();
        if (const auto page = self->m_page.lock())
            page->sendPasteContentToPage(std::move(*text));
        self->m_platform.log().print("📥 Pasted JSON object from pasteboard");
        self->pasteEnded();
    });
}

void Clipboard::pasteImage()
{
    m_pastes.front()->imageAsPNG([self = shared_from_this()](auto png) {
        if (png) {
            if (const auto page = self->m_page.lock())
                page->sendImageToPage({ContentType::png.mimeType, std::move(png)});
            self->m_platform.log().print("📥 Pasted image from pasteboard");
        }
        self->pasteEnded();
    });
}

void Clipboard::pasteEnded()
{
    m_pastes.pop_front();
    if (!m_pastes.empty())
        m_platform.mainQueue().async([self = shared_from_this()] { self->pasteObject(); });
}

}
