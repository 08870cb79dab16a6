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

// A text becomes a script in the buffer that it was read into: room for the rest of the script and for as
// many escapes as usual. It takes memory only when it is used.
std::size_t roomFor(std::size_t size)
{
    return 128 + size / 4;
}

ReadError failure(int error)
{
    return ReadError {std::generic_category().message(error)};
}

// `expected` is what the file system says that there is.
std::variant<std::string, ReadError> readToEnd(int file, std::size_t expected)
{
    std::string content;
    content.reserve(expected + roomFor(expected));
    // One more, to meet the end.
    content.resize(expected + 1);
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

}

std::variant<std::string, ReadError> readFile(const std::filesystem::path& path)
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
        return readToEnd(file.get(), size);
    } catch (const std::bad_alloc&) {
        return failure(ENOMEM);
    }
}

}
