#pragma once

#include <filesystem>
#include <string>
#include <variant>

namespace quillory {

struct ReadError {
    std::string description;
};

// Reads a regular file to its end, whatever size the file system says it has; of anything else (a pipe, a device, a
// folder) the end could not be known. A file of 1 GiB or more is refused. Any thread; blocks until the file is read.
std::variant<std::string, ReadError> readFile(const std::filesystem::path& path);

}
