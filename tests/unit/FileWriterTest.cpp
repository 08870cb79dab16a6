#include "services/FileWriter.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

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

}

TEST(FileWriter, ReplacesTheContentAndKeepsTheFile)
{
    const TemporaryFolder folder;
    for (const std::string content : {"", "short", "much longer than what there was"}) {
        const auto path = folder.write("file", "twelve bytes");
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

TEST(FileWriter, StaysInsideTheFolder)
{
    const TemporaryFolder folder;
    EXPECT_EQ(writeFileInFolder(folder.path(), "file", bytesOf("content")), std::nullopt);
    EXPECT_EQ(folder.read("file"), "content");
    EXPECT_EQ(writeFileInFolder(folder.path(), "../" + folder.path().filename().string() + "/file", bytesOf("other")),
              "The name leads out of the chosen folder");
    EXPECT_EQ(writeFileInFolder(folder.path() / "missing", "file", bytesOf("x")), "No such file or directory");
    EXPECT_NE(writeFileInFolder(folder.path(), "", bytesOf("x")), std::nullopt);
    EXPECT_EQ(folder.read("file"), "content");
}

}
