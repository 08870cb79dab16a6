#pragma once

#include <string_view>

namespace quillory {

// Whether the user's session is of this desktop, or of one that is made from it ("ubuntu:GNOME").
bool isCurrentDesktop(std::string_view name);

}
