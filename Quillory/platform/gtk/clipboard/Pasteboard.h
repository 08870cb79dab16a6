#pragma once

#include <gdk/gdk.h>

#include <map>
#include <memory>

#include "platform/Pasteboard.h"
#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

// The clipboard of the default display.
class Pasteboard final : public quillory::Pasteboard {
public:
    ~Pasteboard() override;

    void clearContents() override;
    void setString(const TextHandle& text, const std::string& type) override;
    void stringForType(const std::string& type, StringCompletion completion) override;
    void imageAsPNG(DataCompletion completion) override;

private:
    void schedulePublication();
    void publish();
    bool isOwner() const;

    std::map<std::string, GBytesPtr> m_contents; // what this process copied last, by type
    TextHandle m_lastText; // the text that `m_lastBytes` holds
    GBytesPtr m_lastBytes;
    GObjectPtr<GdkContentProvider> m_provider; // what the display knows of it
    guint m_publication = 0;
};

}
