#pragma once

#include <filesystem>
#include <string>
#include <variant>

namespace quillory {

struct ReadError {
    std::string description;
};

using FileContent = std::variant<std::string, ReadError>;

// Reads a regular file to its end, whatever size the file system says it has; of anything else (a pipe, a device, a
// folder) the end could not be known. A file of 1 GiB or more is refused, and one that is written to meanwhile, which
// would be half old and half new. Any thread; blocks until the file is read.
FileContent readFile(const std::filesystem::path& path);

}
