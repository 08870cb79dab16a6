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

// The system's clipboard. Writing takes effect at once for this process and before the next event for
// others. Reading asks the owner of the contents, which may be another process: the answer comes on a
// later turn of the main thread, and an owner that stays silent for 5 s has nothing. Main thread only.
class Pasteboard {
public:
    using StringCompletion = std::function<void(std::optional<std::string> utf8)>;
    using DataCompletion = std::function<void(std::shared_ptr<const Bytes> png)>;

    virtual ~Pasteboard() = default;

    // Removes the contents of every type, whoever put them there.
    virtual void clearContents() = 0;
    virtual void setString(const TextHandle& text, const std::string& type) = 0;

    // The text under a type as valid UTF-8, or none.
    virtual void stringForType(const std::string& type, StringCompletion completion) = 0;
    // The image as a PNG file, whatever format it was copied in, or null if there is none that can be
    // read. Bytes that already are a PNG file which can be decoded are passed on as they are.
    virtual void imageAsPNG(DataCompletion completion) = 0;
};

}
