#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "platform/Text.h"

namespace quillory {

namespace PasteboardType {
inline constexpr const char* object = "com.quillory.object"; // only this application writes it
inline constexpr const char* string = "public.utf8-plain-text";
}

// What the clipboard held when the reading was made. The owner is asked, which may be another process: answers
// come on a later turn of the main thread, or before the function returns, one question at a time. All questions
// together wait for 5 s at most; what has not come by then is not there, nor is what was there before this
// process copied something.
class PasteboardReading {
public:
    using StringCompletion = std::function<void(std::optional<std::string> utf8)>;
    using DataCompletion = std::function<void(std::shared_ptr<const Bytes> png)>;

    virtual ~PasteboardReading() = default;

    // The text under a type as valid UTF-8, or none; one of more than 256 MiB counts as none.
    virtual void stringForType(const std::string& type, StringCompletion completion) = 0;
    // The image as a PNG file, whatever format it was copied in, or null if there is none that can be
    // read, or only one of more than 100 megapixels. Bytes that already are a PNG file which can be
    // decoded are passed on as they are.
    virtual void imageAsPNG(DataCompletion completion) = 0;
};

// The system's clipboard. Writing takes effect at once for this process and before the next event for
// others. Main thread only.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;

    // Removes the contents of every type, whoever put them there.
    virtual void clearContents() = 0;
    virtual void setString(const TextHandle& text, const std::string& type) = 0;

    virtual std::shared_ptr<PasteboardReading> read() = 0;
};

}
