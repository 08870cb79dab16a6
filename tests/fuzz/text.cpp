// Bytes that may be text: what counts as well-formed is what GLib takes for it, and one printable line for the log
// comes of whatever there is, the same if it is one already.
#include <glib.h>

#include "check.h"
#include "platform/posix/StandardLog.h"
#include "support/UTF8.h"

namespace {

using namespace quillory;

bool isPrintable(const std::string& text)
{
    bool printable = g_utf8_validate_len(text.data(), text.size(), nullptr) != 0;
    for (const char* c = text.data(); printable && c < text.data() + text.size(); c = g_utf8_next_char(c))
        printable = g_unichar_iscntrl(g_utf8_get_char(c)) == 0;
    return printable;
}

}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    // There, a NUL character is none.
    auto plain = text;
    std::ranges::replace(plain, '\0', ' ');
    const char* end = nullptr;
    g_utf8_validate_len(plain.data(), size, &end);
    check(validUTF8Prefix(text) == static_cast<std::size_t>(end - plain.data()), "the well-formed beginning differs");

    const auto line = posix::escapedLogLine(text);
    check(isPrintable(line), "the line is not printable");
    check((line == text) == isPrintable(text), "an ordinary text was changed, or another was not");
    check(posix::escapedLogLine(line) == line, "escaping twice is not escaping once");
    return 0;
}
