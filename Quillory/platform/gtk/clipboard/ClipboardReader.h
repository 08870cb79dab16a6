#pragma once

#include <gdk/gdk.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/glib/GObjectPtr.h"
#include "platform/glib/SignalConnection.h"
#include "platform/glib/Timeout.h"

namespace quillory::gtk {

// One look at a clipboard that another process may own: its formats, then one of them after the other. All of it
// together takes 5 s at most: what the owner has not said or sent by then, it does not have. A change of what this
// process has on the clipboard ends the look in the same way. Main thread only; one question at a time.
class ClipboardReader : public std::enable_shared_from_this<ClipboardReader> {
public:
    // Both are called once, maybe before the function returns.
    using FormatsCompletion = std::function<void(GdkContentFormats* formats)>;
    // Gets null when the owner does not deliver, or delivers more than 256 MiB.
    using Completion = std::function<void(GBytesPtr bytes)>;

    explicit ClipboardReader(GdkClipboard* clipboard);
    ClipboardReader(const ClipboardReader&) = delete;
    ClipboardReader& operator=(const ClipboardReader&) = delete;

    // A change of owner is heard of before what the new owner offers.
    void whenFormatsAreKnown(FormatsCompletion completion);
    // The first of the types that is offered.
    void read(std::vector<std::string> mimeTypes, Completion completion);

private:
    bool isOver() const;
    unsigned begin(Completion completion);
    void finish(unsigned question, GBytesPtr bytes);
    void opened(unsigned question, GInputStream* input, const std::string& mimeType);

    GdkClipboard* m_clipboard;
    GObjectPtr<GdkContentProvider> m_content; // what this process had there; null for another owner
    GObjectPtr<GCancellable> m_cancellable {g_cancellable_new()};
    Timeout m_patience;
    SignalConnection m_changed;
    Completion m_completion; // of the question that is not answered yet
    unsigned m_questions = 0; // what comes to an earlier one comes too late
};

// The image types among those offered, PNG first: it may be passed on as it is.
std::vector<std::string> imageFormats(GdkContentFormats* formats);

}
