#include "services/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include "platform/Localization.h"
#include "support/FileDescriptor.h"

namespace quillory {

namespace {

// A text becomes a script in the buffer that it was read into: room for the rest of the script and for as
// many escapes as usual. It takes memory only when it is used.
std::size_t roomFor(std::size_t size)
{
    return 128 + size / 4;
}

}

std::variant<std::string, ReadError> readFile(const std::filesystem::path& path)
{
    const auto failure = [](int error) { return ReadError {std::generic_category().message(error)}; };

    // Opening a pipe must not wait for somebody to write into it.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status { };
    if (!file || fstat(file.get(), &status) != 0)
        return failure(errno);
    if (S_ISDIR(status.st_mode))
        return failure(EISDIR);
    if (!S_ISREG(status.st_mode))
        return ReadError {localizable("Not a regular file")};

    std::string content;
    const auto size = static_cast<std::size_t>(status.st_size);
    content.reserve(size + roomFor(size));
    content.resize(size);
    std::size_t position = 0;
    while (position < content.size()) {
        const auto got = read(file.get(), content.data() + position, content.size() - position);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return failure(errno);
        if (got == 0)
            break;
        position += static_cast<std::size_t>(got);
    }
    content.resize(position);
    return content;
}

}
