#include "support/TemporaryDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace quillory {

namespace {

std::optional<std::string> ownDirectory(const std::string& path)
{
    mkdir(path.c_str(), S_IRWXU);
    struct stat status { };
    if (lstat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != getuid()
        || (status.st_mode & (S_IRWXG | S_IRWXO)) != 0)
        return std::nullopt;
    return path + "/";
}

}

std::optional<std::string> temporaryDirectory()
{
    for (const char* variable : {"TMPDIR", "XDG_RUNTIME_DIR"}) {
        const char* value = std::getenv(variable);
        if (value == nullptr || *value == '\0')
            continue;
        std::string path = value;
        if (path.back() != '/')
            path += '/';
        return path;
    }
    return ownDirectory("/tmp/quillory-" + std::to_string(getuid()));
}

}
