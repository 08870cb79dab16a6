#include "services/FileReader.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <new>
#include <system_error>

#include "platform/Localization.h"
#include "support/FileDescriptor.h"

namespace quillory {

namespace {

constexpr std::size_t tooLarge = std::size_t {1} << 30; // bytes
constexpr std::size_t smallestStep = std::size_t {64} << 10; // bytes

ReadError failure(int error)
{
    return ReadError {std::generic_category().message(error)};
}

// `expected` is what the file system says that there is.
FileContent readToEnd(int file, std::size_t expected)
{
    // One more, to meet the end.
    std::string content(expected + 1, '\0');
    std::size_t length = 0;
    while (length < tooLarge) {
        if (length == content.size())
            content.resize(length + std::max(length / 2, smallestStep));
        const auto got = read(file, content.data() + length, content.size() - length);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return failure(errno);
        if (got == 0) {
            content.resize(length);
            return content;
        }
        length += static_cast<std::size_t>(got);
    }
    return failure(EFBIG);
}

bool isSameVersion(const struct stat& before, const struct stat& now)
{
    return before.st_size == now.st_size && before.st_mtim.tv_sec == now.st_mtim.tv_sec
        && before.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

}

FileContent readFile(const std::filesystem::path& path)
{
    // Opening a pipe must not wait for somebody to write into it.
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status { };
    if (!file || fstat(file.get(), &status) != 0)
        return failure(errno);
    if (S_ISDIR(status.st_mode))
        return failure(EISDIR);
    if (!S_ISREG(status.st_mode))
        return ReadError {localizable("Not a regular file")};
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size >= tooLarge)
        return failure(EFBIG);
    try {
        auto content = readToEnd(file.get(), size);
        if (auto now = status; fstat(file.get(), &now) == 0 && !isSameVersion(status, now))
            return ReadError {localizable("The file was changed while it was read")};
        return content;
    } catch (const std::bad_alloc&) {
        return failure(ENOMEM);
    }
}

}
