#include "services/FileWriter.h"

#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <memory>
#include <thread>

#include "TemporaryFolder.h"

namespace quillory {

namespace {

namespace fs = std::filesystem;
using Error = std::optional<std::string>;

// Files of this process cannot grow beyond a size as long as what this gives is held.
std::shared_ptr<void> limitFileSize(rlim_t size)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit old {};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit limit {size, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    return {nullptr, [old](void*) { setrlimit(RLIMIT_FSIZE, &old); }};
}

// Does `work` in a thread in which the call ends with an error.
template<typename Work> void without(std::uint32_t call, std::uint32_t error, Work work)
{
    std::thread([&] {
        sock_filter program[] = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
            BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        };
        const sock_fprog filter {std::size(program), program};
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
        ASSERT_EQ(prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), 0);
        work();
    }).join();
}

// Never read: that no disk can store it is known before.
const std::span<const std::byte> exbibyte(std::as_bytes(std::span("")).data(), 1UL << 60);

class FileWriter : public testing::Test {
protected:
    Error write(const std::string& name, const std::string& content) const
    {
        return writeFile(path / name, std::as_bytes(std::span(content)));
    }

    Error writeInFolder(const std::string& name, const std::string& content = "content") const
    {
        return writeFileInFolder(path, name, std::as_bytes(std::span(content)));
    }

    unsigned permissions(const char* name) const
    {
        return static_cast<unsigned>(fs::status(path / name).permissions());
    }

    const TemporaryFolder folder;
    const fs::path path = folder.path();
};

}

TEST_F(FileWriter, ReplacesTheContentAndKeepsTheFile)
{
    fs::create_symlink("file", path / "soft");
    for (const auto& [old, content] :
         {std::pair {"1", ""}, {"twelve bytes", ""}, {"twelve bytes", "short"}, {"1", "longer than what there was"}}) {
        chmod(folder.write("file", old).c_str(), 0640);
        fs::remove(path / "hard");
        fs::create_hard_link(path / "file", path / "hard");
        EXPECT_EQ(write("soft", content), std::nullopt);
        EXPECT_EQ(folder.read("hard"), content);
        EXPECT_TRUE(fs::is_symlink(path / "soft"));
        EXPECT_EQ(permissions("file"), 0640U);
    }
}

TEST_F(FileWriter, LeavesTheOldContentWholeWhenTheNewOneDoesNotFit)
{
    folder.write("old", "precious");
    fs::create_symlink("target", path / "link");
    const std::string large(1 << 20, 'x');
    const auto limit = limitFileSize(64 << 10);
    for (const char* name : {"old", "new", "link"})
        EXPECT_EQ(write(name, large), "File too large");
    EXPECT_EQ(folder.read("old"), "precious");
    EXPECT_FALSE(fs::exists(path / "new"));
    EXPECT_TRUE(fs::is_symlink(path / "link")) << "it was not made here";
    for (const char* name : {"fits", "link"})
        EXPECT_EQ(write(name, large.substr(0, 64 << 10)), std::nullopt);
    EXPECT_EQ(folder.read("target").size(), 64U << 10);

    errno = ENOENT; // of an earlier call
    EXPECT_NE(writeFile(path / "old", exbibyte), std::nullopt);
    EXPECT_EQ(folder.read("old"), "precious");
}

TEST_F(FileWriter, SaysWhyItCouldNotWrite)
{
    folder.makePipe("pipe");
    EXPECT_EQ(write("", "content"), "Is a directory");
    EXPECT_EQ(write("missing/file", "content"), "No such file or directory");
    EXPECT_EQ(write("pipe", "content"), "No such device or address");
    EXPECT_EQ(write("/dev/full", "content"), "No space left on device");
}

TEST_F(FileWriter, GivesANewFileTheUsualPermissions)
{
    const auto mask = umask(002);
    write("one", "content");
    writeInFolder("of-a-batch");
    umask(mask);
    for (const char* name : {"one", "of-a-batch"})
        EXPECT_EQ(permissions(name), 0664U);
}

TEST_F(FileWriter, StaysInsideTheFolder)
{
    EXPECT_EQ(writeInFolder("file"), std::nullopt);
    EXPECT_EQ(writeInFolder("../" + path.filename().string() + "/file", "other"),
              "The name leads out of the chosen folder");
    EXPECT_EQ(writeFileInFolder(path / "missing", "file", {}), "No such file or directory");
    EXPECT_NE(writeInFolder(""), std::nullopt);
    EXPECT_NE(writeInFolder({"file\0x", 6}, "other"), std::nullopt);
    EXPECT_EQ(folder.read("file"), "content");
}

TEST_F(FileWriter, StaysInsideTheFolderOnAnOldKernel)
{
    fs::create_directory(path / "sub");
    fs::create_symlink("sub/target", path / "link");
    without(SYS_openat2, ENOSYS, [&] {
        EXPECT_EQ(writeInFolder("file"), std::nullopt);
        EXPECT_EQ(writeInFolder(".."), "Is a directory");
        EXPECT_EQ(writeInFolder("link"), "Too many levels of symbolic links");
        EXPECT_EQ(writeInFolder("sub/file"), "Function not implemented");
    });
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_TRUE(fs::is_empty(path / "sub"));
}

TEST_F(FileWriter, ReplacesContentWhereNoSpaceCanBeSetAside)
{
    folder.write("old", "longer than what comes");
    without(SYS_fallocate, EOPNOTSUPP, [&] {
        for (const char* name : {"old", "new"}) {
            EXPECT_EQ(write(name, "content"), std::nullopt);
            EXPECT_EQ(folder.read(name), "content");
            EXPECT_EQ(writeFile(path / name, exbibyte), "No space left on device");
            EXPECT_EQ(folder.read(name), "content");
        }
    });
    without(SYS_ftruncate, EIO, [&] {
        EXPECT_EQ(write("needs no cut", "content"), std::nullopt);
        EXPECT_EQ(write("old", "x"), "Input/output error");
    });
}

}
