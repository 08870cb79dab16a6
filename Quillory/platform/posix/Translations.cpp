#include "platform/posix/Translations.h"

#include <clocale>

#include "platform/Localization.h"

namespace quillory::posix {

void useTranslations(const Bundle& bundle)
{
    std::setlocale(LC_ALL, "");
    if (const auto resources = bundle.resourceURL())
        bindtextdomain(textDomain, (resources->parent_path() / "locale").c_str());
    bind_textdomain_codeset(textDomain, "UTF-8");
}

}
