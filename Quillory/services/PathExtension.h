#pragma once

#include <string>
#include <string_view>

namespace quillory {

// What follows the last dot of a file name, ASCII letters in lower case; empty if there is no dot in
// the name's last path component.
std::string pathExtension(std::string_view filename);

}
