#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/ContentType.h"

namespace quillory {

// What follows the last dot of a file name, ASCII letters in lower case; empty if there is no dot in
// the name's last path component.
std::string pathExtension(std::string_view filename);

// The type that a file of that name has by its extension; null if it is none of these.
const ContentType* typeByExtension(std::span<const ContentType> types, std::string_view filename);

}
