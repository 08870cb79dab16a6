#include "support/TemporaryDirectory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace quillory {

namespace {

std::string fromEnvironment(const char* variable)
{
    const char* value = std::getenv(variable);
    return value != nullptr ? value : "";
}

// Flatpak gives each instance of an application a runtime folder of its own, and all of them this one in it.
std::string sharedInFlatpak(const std::string& runtimeDirectory)
{
    const auto application = fromEnvironment("FLATPAK_ID");
    return application.empty() ? "" : runtimeDirectory + "/app/" + application;
}

bool isOwnAndClosed(const std::string& path)
{
    struct stat status { };
    return path.starts_with('/') && lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)
        && status.st_uid == getuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

}

std::optional<std::string> temporaryDirectory()
{
    const auto runtimeDirectory = fromEnvironment("XDG_RUNTIME_DIR");
    const auto lastResort = "/tmp/quillory-" + std::to_string(getuid());
    for (const auto& path :
         {sharedInFlatpak(runtimeDirectory), runtimeDirectory, fromEnvironment("TMPDIR"), lastResort}) {
        if (path == lastResort)
            mkdir(path.c_str(), S_IRWXU);
        if (isOwnAndClosed(path))
            return path.ends_with('/') ? path : path + "/";
    }
    return std::nullopt;
}

}
