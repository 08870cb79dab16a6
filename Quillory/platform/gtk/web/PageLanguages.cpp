#include "platform/gtk/web/PageLanguages.h"

#include <cstring>
#include <vector>

#include <webkit/webkit.h>

namespace quillory::gtk {

void tellPagesTheLanguages()
{
    std::vector<const gchar*> languages;
    for (const auto* const* name = g_get_language_names(); *name != nullptr; ++name) {
        // The same language comes with and without its character set, and last of all the locale without a language.
        if (std::strpbrk(*name, ".@") == nullptr && std::strcmp(*name, "C") != 0)
            languages.push_back(*name);
    }
    if (languages.empty())
        return;
    languages.push_back(nullptr);
    webkit_web_context_set_preferred_languages(webkit_web_context_get_default(), languages.data());
}

}
