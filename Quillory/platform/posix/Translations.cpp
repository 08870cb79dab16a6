#include "platform/posix/Translations.h"

#include <clocale>
#include <cstdlib>
#include <string>

#include "platform/Localization.h"

namespace quillory::posix {

namespace {

// The texts as they are in the program speak of another desktop; the English catalogue speaks of this one.
void preferEnglishToNoTranslation()
{
    const std::string locale = std::setlocale(LC_MESSAGES, nullptr);
    if (isLocalized() || locale == "POSIX" || locale.substr(0, locale.find('.')) == "C")
        return;
    const char* languages = std::getenv("LANGUAGE");
    const std::string wanted = languages != nullptr && *languages != '\0' ? languages : locale;
    setenv("LANGUAGE", (wanted + ":en").c_str(), 1);
}

}

void useTranslations(const Bundle& bundle)
{
    std::setlocale(LC_ALL, "");
    if (const auto resources = bundle.resourceURL())
        bindtextdomain(textDomain, (resources->parent_path() / "locale").c_str());
    bind_textdomain_codeset(textDomain, "UTF-8");
    preferEnglishToNoTranslation();
}

}
