#pragma once

#include <gdk/gdk.h>

#include <map>
#include <memory>

#include "platform/Pasteboard.h"
#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"

namespace quillory::gtk {

// The clipboard of the default display.
class Pasteboard final : public quillory::Pasteboard {
public:
    ~Pasteboard() override;

    void clearContents() override;
    void setString(const TextHandle& text, const std::string& type) override;
    std::shared_ptr<PasteboardReading> read() override;

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
    guint m_publication = 0;
    SignalConnection m_changed;
};

}
