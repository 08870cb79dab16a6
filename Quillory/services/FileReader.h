#pragma once

#include <filesystem>
#include <string>
#include <variant>

namespace quillory {

struct ReadError {
    std::string description;
};

// Reads a whole regular file; of anything else (a pipe, a device, a folder) the end could not be known.
// What the file gains while it is read is left out. Blocks until the file is read.
std::variant<std::string, ReadError> readFile(const std::filesystem::path& path);

}
