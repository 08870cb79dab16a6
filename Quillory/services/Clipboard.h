#pragma once

#include <deque>
#include <memory>
#include <string_view>

#include "platform/Platform.h"
#include "services/Page.h"

namespace quillory {

// Whether a text that another program copied may be objects of the canvas. It is not parsed.
bool looksLikeCanvasJSON(std::string_view text);

// The page's copy and paste through the system's clipboard. Reading waits for the clipboard's owner
// without stopping the window, so pastes wait for each other: they are answered in the order in which
// they were asked.
class Clipboard : public std::enable_shared_from_this<Clipboard> {
public:
    Clipboard(Platform& platform, std::weak_ptr<Page> page);

    void handleNativeCopy(const ScriptMessage& message);
    void handleNativePaste();

private:
    // The paste that is under way; keeps the clipboard alive.
    using Turn = std::shared_ptr<Clipboard>;

    void pasteObject();
    void pasteCanvasText(const Turn& turn);
    void pasteImage(const Turn& turn);
    void pasteEnded();

    Platform& m_platform;
    std::weak_ptr<Page> m_page;
    std::deque<std::shared_ptr<PasteboardReading>> m_pastes; // not answered yet; the first is under way
};

}
