#pragma once

#include <gdk/gdk.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/glib/GObjectPtr.h"

namespace quillory::gtk {

// Asynchronous reads of a clipboard that another process may own. Each completion is called once, on
// the main thread and maybe before the function returns; an owner that stays silent for 5 s has nothing.

// Gets null when the owner offers none of the types or does not deliver.
using ClipboardCompletion = std::function<void(GBytesPtr bytes)>;

// A change of owner is heard of before what the new owner offers.
void whenClipboardFormatsAreKnown(GdkClipboard* clipboard, std::function<void(GdkContentFormats* formats)> completion);

void readClipboard(GdkClipboard* clipboard, std::vector<std::string> mimeTypes, ClipboardCompletion completion);
// Plain text, which the toolkit converts to UTF-8 from whatever encoding it is offered in.
void readClipboardText(GdkClipboard* clipboard, ClipboardCompletion completion);

// The image types among those offered, PNG first: it may be passed on as it is.
std::vector<std::string> imageFormats(GdkContentFormats* formats);

}
