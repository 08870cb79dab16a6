#include "services/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

#include "support/FileDescriptor.h"

namespace quillory {

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
        return ReadError {"Not a regular file"};

    std::string content;
    content.resize(static_cast<std::size_t>(status.st_size));
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
