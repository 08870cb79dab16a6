#include "services/FileWriter.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <thread>

#include "TemporaryFolder.h"

namespace quillory {

namespace {

std::span<const std::byte> bytesOf(const std::string& text)
{
    return std::as_bytes(std::span(text));
}

// Files of this process cannot grow beyond a size while this object lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit limit {size, m_old.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_old); }

private:
    rlimit m_old {};
};

// The call ends with an error in this thread from now on.
void takeFromThisThread(std::uint32_t call, std::uint32_t error)
{
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter {std::size(program), program};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
}

}

TEST(FileWriter, ReplacesTheContentAndKeepsTheFile)
{
    const TemporaryFolder folder;
    const struct {
        const char* old;
        std::string content;
    } cases[] = {{"1", ""}, {"twelve bytes", ""}, {"twelve bytes", "short"}, {"1", "longer than what there was"}};
    for (const auto& [old, content] : cases) {
        const auto path = folder.write("file", old);
        chmod(path.c_str(), 0640);
        std::filesystem::remove(folder.path() / "hard");
        std::filesystem::remove(folder.path() / "soft");
        std::filesystem::create_hard_link(path, folder.path() / "hard");
        std::filesystem::create_symlink("file", folder.path() / "soft");
        EXPECT_EQ(writeFile(folder.path() / "soft", bytesOf(content)), std::nullopt);
        EXPECT_EQ(folder.read("hard"), content);
        EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "soft"));
        struct stat status { };
        stat(path.c_str(), &status);
        EXPECT_EQ(status.st_mode & 0777U, 0640U);
    }
}

TEST(FileWriter, LeavesTheOldContentWholeWhenTheNewOneDoesNotFit)
{
    const TemporaryFolder folder;
    folder.write("old", "precious");
    const std::string large(1 << 20, 'x');
    const FileSizeLimit limit(64 << 10);
    EXPECT_EQ(writeFile(folder.path() / "old", bytesOf(large)), "File too large");
    EXPECT_EQ(folder.read("old"), "precious");
    EXPECT_EQ(writeFile(folder.path() / "new", bytesOf(large)), "File too large");
    EXPECT_FALSE(std::filesystem::exists(folder.path() / "new"));
    std::filesystem::create_symlink("target", folder.path() / "link");
    EXPECT_EQ(writeFile(folder.path() / "link", bytesOf(large)), "File too large");
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path() / "link")) << "it was not made here";
    for (const char* name : {"fits", "link"})
        EXPECT_EQ(writeFile(folder.path() / name, bytesOf(large).first(64 << 10)), std::nullopt);
    EXPECT_EQ(folder.read("target").size(), 64U << 10);
}

TEST(FileWriter, LeavesTheOldContentWholeWhenNoDiskHasTheRoom)
{
    const TemporaryFolder folder;
    folder.write("old", "precious");
    // Never read: that it cannot be stored is known before.
    const std::string content = "x";
    const std::span<const std::byte> exbibyte(bytesOf(content).data(), 1UL << 60);
    errno = ENOENT; // of an earlier call
    EXPECT_NE(writeFile(folder.path() / "old", exbibyte), std::nullopt);
    EXPECT_EQ(folder.read("old"), "precious");
}

TEST(FileWriter, SaysWhyItCouldNotWrite)
{
    const TemporaryFolder folder;
    const struct {
        std::filesystem::path path;
        const char* error;
    } cases[] = {
        {folder.path(), "Is a directory"},
        {folder.path() / "missing" / "file", "No such file or directory"},
        {folder.makePipe("pipe"), "No such device or address"},
        {"/dev/full", "No space left on device"},
    };
    for (const auto& [path, error] : cases)
        EXPECT_EQ(writeFile(path, bytesOf("content")), error) << path;
}

TEST(FileWriter, GivesANewFileTheUsualPermissions)
{
    const TemporaryFolder folder;
    const auto mask = umask(002);
    writeFile(folder.path() / "one", bytesOf("content"));
    writeFileInFolder(folder.path(), "of-a-batch", bytesOf("content"));
    umask(mask);
    for (const char* name : {"one", "of-a-batch"}) {
        struct stat status { };
        stat((folder.path() / name).c_str(), &status);
        EXPECT_EQ(status.st_mode & 0777U, 0664U) << name;
    }
}

TEST(FileWriter, StaysInsideTheFolder)
{
    const TemporaryFolder folder;
    EXPECT_EQ(writeFileInFolder(folder.path(), "file", bytesOf("content")), std::nullopt);
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_EQ(writeFileInFolder(folder.path(), "../" + folder.path().filename().string() + "/file", bytesOf("other")),
              "The name leads out of the chosen folder");
    EXPECT_EQ(writeFileInFolder(folder.path() / "missing", "file", bytesOf("x")), "No such file or directory");
    EXPECT_NE(writeFileInFolder(folder.path(), "", bytesOf("x")), std::nullopt);
    EXPECT_NE(writeFileInFolder(folder.path(), std::string("file\0x", 6), bytesOf("x")), std::nullopt);
    EXPECT_EQ(folder.read("file"), "content");
}

TEST(FileWriter, StaysInsideTheFolderOnAnOldKernel)
{
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "sub");
    std::filesystem::create_symlink("sub/target", folder.path() / "link");
    const struct {
        const char* name;
        std::optional<std::string> error;
    } cases[] = {
        {"file", std::nullopt},
        {"..", "Is a directory"},
        {"link", "Too many levels of symbolic links"},
        {"sub/file", "Function not implemented"},
    };
    std::thread([&] {
        takeFromThisThread(SYS_openat2, ENOSYS);
        for (const auto& [name, error] : cases)
            EXPECT_EQ(writeFileInFolder(folder.path(), name, bytesOf("content")), error) << name;
    }).join();
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_TRUE(std::filesystem::is_empty(folder.path() / "sub"));
}

TEST(FileWriter, ReplacesContentWhereNoSpaceCanBeSetAside)
{
    const TemporaryFolder folder;
    folder.write("old", "longer than what comes");
    std::thread([&] {
        takeFromThisThread(SYS_fallocate, EOPNOTSUPP);
        for (const char* name : {"old", "new"})
            EXPECT_EQ(writeFile(folder.path() / name, bytesOf("content")), std::nullopt) << name;
    }).join();
    EXPECT_EQ(folder.read("old"), "content");
    EXPECT_EQ(folder.read("new"), "content");
}

}
