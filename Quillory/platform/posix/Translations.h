#pragma once

#include "platform/Bundle.h"

namespace quillory::posix {

// Puts the interface into the user's language, from the catalogues that are installed beside the
// program's resources (share/locale). Once, before the first text is shown; without catalogues texts
// are shown as they are.
void useTranslations(const Bundle& bundle);

}
