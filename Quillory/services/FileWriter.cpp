#include "services/FileWriter.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <system_error>

#include "platform/Localization.h"
#include "support/FileDescriptor.h"

namespace quillory {

namespace fs = std::filesystem;

namespace {

std::string describe(int error)
{
    return std::generic_category().message(error);
}

// One place in the file system: in a folder that is open already, which the name must not lead out of, or relative to
// the working directory (AT_FDCWD).
class Target {
public:
    Target(int folder, std::string name)
        : m_folder(folder)
        , m_name(std::move(name))
    {
    }

    // Never waits for the other end of a pipe, and never makes a terminal ours.
    FileDescriptor open(int flags) const
    {
        flags |= O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
        return m_folder == AT_FDCWD ? openAt(flags) : openBeneath(flags);
    }

    void remove() const { unlinkat(m_folder, m_name.c_str(), 0); }

private:
    FileDescriptor openAt(int flags) const { return FileDescriptor(openat(m_folder, m_name.c_str(), flags, fileMode)); }

    FileDescriptor openBeneath(int flags) const
    {
        open_how how {};
        how.flags = static_cast<std::uint64_t>(flags);
        how.mode = (flags & O_CREAT) != 0 ? fileMode : 0;
        how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
        FileDescriptor file(static_cast<int>(syscall(SYS_openat2, m_folder, m_name.c_str(), &how, sizeof how)));
        // Where the kernel cannot watch the way, a single name is still safe if it is no link: a folder cannot be
        // written.
        if (!file && errno == ENOSYS && m_name.find('/') == std::string::npos)
            return openAt(flags | O_NOFOLLOW);
        return file;
    }

    static constexpr mode_t fileMode = 0666;

    int m_folder;
    std::string m_name;
};

// Setting blocks aside does not ask whether the process may write that far.
bool exceedsSizeLimit(off_t size)
{
    rlimit limit {};
    return getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY
        && static_cast<rlim_t>(size) > limit.rlim_cur;
}

// ENOSPC if `size` bytes do not fit into the free space and what the file has already.
int checkFreeSpace(int file, off_t size)
{
    struct statvfs disk { };
    struct stat status { };
    if (fstatvfs(file, &disk) != 0 || disk.f_blocks == 0 || fstat(file, &status) != 0)
        return 0;
    constexpr std::uint64_t blockSize = 512; // of st_blocks, on every file system
    const auto own = static_cast<std::uint64_t>(status.st_blocks) * blockSize;
    return disk.f_bavail * disk.f_frsize + own < static_cast<std::uint64_t>(size) ? ENOSPC : 0;
}

// The file system sets blocks aside behind the content that is there, which stays as it is. EOPNOTSUPP from
// one that cannot.
int reserve(int file, off_t oldSize, off_t newSize)
{
    if (newSize == 0)
        return 0;
    int error = 0;
    do {
        error = fallocate(file, FALLOC_FL_KEEP_SIZE, 0, newSize) == 0 ? 0 : errno;
    } while (error == EINTR);
    // Gives back what a failed reservation may have taken already.
    if (error != 0 && error != EOPNOTSUPP && ftruncate(file, oldSize) != 0)
        return errno;
    return error;
}

int writeAll(int file, std::span<const std::byte> bytes)
{
    while (!bytes.empty()) {
        const auto written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno;
        bytes = bytes.subspan(static_cast<std::size_t>(written));
    }
    return 0;
}

int replaceContent(int file, off_t oldSize, std::span<const std::byte> bytes)
{
    const auto newSize = static_cast<off_t>(bytes.size());
    if (exceedsSizeLimit(newSize))
        return EFBIG;
    int error = reserve(file, oldSize, newSize);
    const bool canReserve = error != EOPNOTSUPP;
    if (!canReserve)
        error = checkFreeSpace(file, newSize);
    if (error != 0)
        return error;
    if (oldSize > 0) {
        if (ftruncate(file, 0) != 0)
            return errno;
        // Cutting the old content off gave its blocks back: they are taken again before anybody else can.
        if (canReserve)
            error = reserve(file, 0, newSize);
        if (error != 0)
            return error;
    }
    return writeAll(file, bytes);
}

std::optional<std::string> write(const Target& target, std::span<const std::byte> bytes)
{
    auto file = target.open(0);
    bool created = false;
    if (!file && errno == ENOENT) {
        file = target.open(O_CREAT | O_EXCL);
        created = static_cast<bool>(file);
        // A link to a file that is not there yet.
        if (!file && errno == EEXIST)
            file = target.open(O_CREAT);
    }
    if (!file)
        return errno == EXDEV ? localizable("The name leads out of the chosen folder") : describe(errno);

    struct stat status { };
    if (fstat(file.get(), &status) != 0)
        return describe(errno);
    int error = 0;
    if (S_ISREG(status.st_mode))
        error = replaceContent(file.get(), status.st_size, bytes);
    else if (S_ISCHR(status.st_mode))
        error = writeAll(file.get(), bytes);
    else
        return "Not a regular file";

    const int closeError = file.close();
    if (error == 0)
        error = closeError;
    if (error == 0)
        return std::nullopt;
    if (created)
        target.remove();
    return describe(error);
}

}

std::optional<std::string> writeFile(const fs::path& path, std::span<const std::byte> bytes)
{
    return write(Target(AT_FDCWD, path), bytes);
}

std::optional<std::string> writeFileInFolder(const fs::path& folder, const std::string& name,
                                             std::span<const std::byte> bytes)
{
    if (name.find('\0') != std::string::npos)
        return "A NUL character cannot be in a name";
    const FileDescriptor directory(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!directory)
        return describe(errno);
    return write(Target(directory.get(), name), bytes);
}

}
