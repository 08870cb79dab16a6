#pragma once

#include <libintl.h>

#include <string>

namespace quillory {

inline constexpr const char* textDomain = "quillory";

// The user's language for a text of the interface; the text itself where there is no translation.
// Lines of the log are never translated.
inline std::string localized(const char* text)
{
    return dgettext(textDomain, text);
}

}
