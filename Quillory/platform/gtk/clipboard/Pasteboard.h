#pragma once

#include <gdk/gdk.h>

#include <map>
#include <memory>

#include "platform/Pasteboard.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"
#include "platform/glib/Timeout.h"
#include "platform/gtk/clipboard/PictureOffer.h"

namespace quillory::gtk {

// The clipboard of the default display.
class Pasteboard final : public quillory::Pasteboard {
public:
    void clearContents() override;
    void setString(const TextHandle& text, const std::string& type) override;
    std::shared_ptr<PasteboardReading> read() override;

    // Offers a picture beside what this process has copied; the offer ends with that. See `PictureOffer`.
    void offerPicture(std::function<void(bool)> wanted);
    void setPicture(GBytesPtr png);

    using Contents = std::map<std::string, GBytesPtr>; // by type

private:
    void schedulePublication();
    void publish();
    bool isOwner() const;

    // What this process copied last, until another one takes the clipboard over.
    std::shared_ptr<Contents> m_contents = std::make_shared<Contents>();
    TextHandle m_lastText; // the text that `m_lastBytes` holds
    GBytesPtr m_lastBytes;
    GObjectPtr<GdkContentProvider> m_provider; // what the display knows of it
    std::unique_ptr<PictureOffer> m_picture;
    Timeout m_publication;
    SignalConnection m_changed;
};

}
