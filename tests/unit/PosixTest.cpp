#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "TemporaryFolder.h"
#include "platform/posix/InstalledBundle.h"
#include "platform/posix/StandardLog.h"
#include "support/TemporaryDirectory.h"
#include "support/UTF8.h"

namespace quillory {

TEST(StandardLog, KeepsOneEventOnOneLine)
{
    const struct {
        std::string text;
        std::string line;
    } cases[] = {
        {"✅ Decoded 3 bytes", "✅ Decoded 3 bytes"},
        {"name\nwith\r\n\tlines", R"(name\nwith\r\n\tlines)"},
        {std::string("nul\0 \x1b[31m \x7f", 12), R"(nul\x00 \x1b[31m \x7f)"},
        {"next\xC2\x85line \xC2\xA0 ä",
         R"(next\x85line)"
         " \xC2\xA0 ä"},
        {"broken \xFF\xE2\x82 path \xED\xA0\x80.", R"(broken \xff\xe2\x82 path \xed\xa0\x80.)"},
    };
    for (const auto& [text, line] : cases)
        EXPECT_EQ(posix::escapedLogLine(text), line);
}

TEST(TemporaryDirectory, FollowsTheEnvironmentAndEndsInASeparator)
{
    setenv("XDG_RUNTIME_DIR", "/run/user/1", 1);
    setenv("TMPDIR", "/var/tmp", 1);
    EXPECT_EQ(temporaryDirectory(), "/var/tmp/");
    setenv("TMPDIR", "/var/tmp/", 1);
    EXPECT_EQ(temporaryDirectory(), "/var/tmp/");
    setenv("TMPDIR", "", 1);
    EXPECT_EQ(temporaryDirectory(), "/run/user/1/");
    unsetenv("TMPDIR");
    unsetenv("XDG_RUNTIME_DIR");

    const auto own = "/tmp/quillory-" + std::to_string(getuid());
    EXPECT_EQ(temporaryDirectory(), own + "/");
    ASSERT_EQ(chmod(own.c_str(), 0755), 0);
    EXPECT_EQ(temporaryDirectory(), std::nullopt);
    ASSERT_EQ(chmod(own.c_str(), 0700), 0);

    const auto aside = own + "-aside";
    std::filesystem::rename(own, aside);
    close(open(own.c_str(), O_WRONLY | O_CREAT, 0600));
    EXPECT_EQ(temporaryDirectory(), std::nullopt) << "a file in its place";
    std::filesystem::remove(own);
    std::filesystem::rename(aside, own);
}

TEST(UTF8, LooksNoFurtherThanTheEndItIsGiven)
{
    const std::string_view text = "a\xE2\x82\xAC";
    for (const std::size_t length : {0U, 1U, 2U, 3U, 4U})
        EXPECT_EQ(validUTF8Prefix(text.substr(0, length)), length == 4 ? 4U : std::min<std::size_t>(length, 1));
}

TEST(TemporaryDirectory, RefusesWhatOthersCouldHavePutThere)
{
    namespace fs = std::filesystem;
    unsetenv("TMPDIR");
    unsetenv("XDG_RUNTIME_DIR");
    const fs::path own = "/tmp/quillory-" + std::to_string(getuid());
    const fs::path aside = own.string() + ".aside";
    ASSERT_NE(temporaryDirectory(), std::nullopt);
    fs::rename(own, aside);
    const TemporaryFolder elsewhere;
    fs::create_directory_symlink(elsewhere.path(), own);
    EXPECT_EQ(temporaryDirectory(), std::nullopt) << "a link";
    fs::remove(own);
    fs::copy_file(elsewhere.write("file", ""), own);
    chmod(own.c_str(), 0700);
    EXPECT_EQ(temporaryDirectory(), std::nullopt) << "a file";
    fs::remove(own);
    // Only root can make a folder of somebody else.
    if (getuid() == 0 && mkdir(own.c_str(), 0700) == 0 && chown(own.c_str(), 1, 1) == 0) {
        EXPECT_EQ(temporaryDirectory(), std::nullopt) << "another user's folder";
        fs::remove(own);
    }
    fs::rename(aside, own);
}

TEST(InstalledBundle, ReadsStringsOfItsInformationFile)
{
    const TemporaryFolder folder;
    const posix::InstalledBundle bundle(folder.path() / "bin" / "quillory");
    EXPECT_EQ(bundle.resourceURL(), std::nullopt);
    std::filesystem::create_directories(folder.path() / "share" / "quillory");
    EXPECT_EQ(bundle.resourceURL(), folder.path() / "share" / "quillory");

    const struct {
        const char* json;
        std::optional<std::string> version;
    } cases[] = {
        {R"({"CFBundleVersion": "37"})", "37"},
        {R"({"CFBundleVersion": 37})", std::nullopt},
        {R"({"CFBundle": "37"})", std::nullopt},
        {"[]", std::nullopt},
        {"{", std::nullopt},
        {"", std::nullopt},
    };
    EXPECT_EQ(bundle.infoString("CFBundleVersion"), std::nullopt);
    for (const auto& [json, version] : cases) {
        folder.write("share/quillory/Info.json", json);
        EXPECT_EQ(bundle.infoString("CFBundleVersion"), version) << json;
    }
}

}
