// UTF-8: what counts as well-formed is what GLib takes for it.
#include <glib.h>

#include <cstdint>
#include <string_view>

#include "check.h"
#include "support/UTF8.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::size_t expected = 0;
    for (bool more = true; more; expected += more ? 1 : 0) {
        const char* end = nullptr;
        g_utf8_validate_len(text.data() + expected, size - expected, &end);
        expected = static_cast<std::size_t>(end - text.data());
        // Unlike there, a NUL character is one as any other here.
        more = expected < size && text[expected] == '\0';
    }
    check(quillory::validUTF8Prefix(text) == expected, "the well-formed beginning is of another length");
    return 0;
}
