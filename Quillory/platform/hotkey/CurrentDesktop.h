#pragma once

#include <cstdlib>
#include <string>

namespace quillory {

// Whether the user's session is of this desktop, or of one that is made from it ("ubuntu:GNOME").
inline bool isCurrentDesktop(const std::string& name)
{
    const char* desktops = std::getenv("XDG_CURRENT_DESKTOP");
    return desktops != nullptr && (":" + std::string(desktops) + ":").find(":" + name + ":") != std::string::npos;
}

}
