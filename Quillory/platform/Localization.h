#pragma once

#include <libintl.h>

#include <string>
#include <string_view>

namespace quillory {

inline constexpr const char* textDomain = "quillory";

// The user's language for a text of the interface; the text itself where there is no translation.
// Lines of the log are never translated.
inline std::string localized(const char* text)
{
    return dgettext(textDomain, text);
}

// The same, with `value` in place of the text's "{}".
inline std::string localized(const char* text, std::string_view value)
{
    auto result = localized(text);
    if (const auto place = result.find("{}"); place != std::string::npos)
        result.replace(place, 2, value);
    return result;
}

// Whether the user's language has translations at all; in the C locale it has none.
inline bool isLocalized()
{
    constexpr const char* header = "";
    return *dgettext(textDomain, header) != '\0';
}

// Marks a text that goes through `localized` elsewhere, so that the catalogue gets it.
constexpr const char* localizable(const char* text)
{
    return text;
}

}
