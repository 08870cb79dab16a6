#include "platform/hotkey/CurrentDesktop.h"

#include <cstdlib>
#include <sstream>
#include <string>

namespace quillory {

bool isCurrentDesktop(std::string_view name)
{
    const char* desktops = std::getenv("XDG_CURRENT_DESKTOP");
    std::istringstream list(desktops != nullptr ? desktops : "");
    for (std::string desktop; std::getline(list, desktop, ':');)
        if (desktop == name)
            return true;
    return false;
}

}
