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

TEST(TemporaryDirectory, IsTheFirstThatIsTheUsersOwnAndClosed)
{
    namespace fs = std::filesystem;
    const TemporaryFolder folder;
    const auto make = [&](const std::string& name, mode_t mode, uid_t owner = getuid()) {
        const auto path = folder.path() / name;
        fs::create_directories(path);
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        // Only root can give a folder away.
        return chown(path.c_str(), owner, owner) == 0 ? path.string() : "";
    };
    const auto runtime = make("runtime", 0700);
    const auto temporary = make("temporary", 0700);
    const auto shared = make("runtime/app/com.quillory.Quillory", 0700);
    fs::create_directory_symlink(runtime, folder.path() / "link");
    const auto lastResort = "/tmp/quillory-" + std::to_string(getuid()) + "/";

    const struct {
        std::string flatpak, runtime, temporary, found;
    } cases[] = {
        {"", runtime, temporary, runtime + "/"},
        {"", runtime + "/", temporary, runtime + "/"},
        {"com.quillory.Quillory", runtime, temporary, shared + "/"},
        {"com.quillory.Another", runtime, temporary, runtime + "/"},
        {"", "", temporary, temporary + "/"},
        {"", "/missing", temporary, temporary + "/"},
        {"", folder.write("file", ""), temporary, temporary + "/"},
        {"", folder.path() / "link", temporary, temporary + "/"},
        {"", make("group", 0710), temporary, temporary + "/"},
        {"", make("all", 0701), temporary, temporary + "/"},
        {"", make("foreign", 0700, 1), temporary, temporary + "/"},
        {"", "relative", temporary, temporary + "/"},
        {"", "", make("sticky", 01777), lastResort},
        {"", "", "", lastResort},
    };
    // Relative to here, it would be one of the user's own.
    const auto here = fs::current_path();
    make("relative", 0700);
    fs::current_path(folder.path());
    for (const auto& [flatpak, first, second, found] : cases) {
        setenv("FLATPAK_ID", flatpak.c_str(), 1);
        setenv("XDG_RUNTIME_DIR", first.c_str(), 1);
        setenv("TMPDIR", second.c_str(), 1);
        EXPECT_EQ(temporaryDirectory(), found);
    }
    fs::current_path(here);
    // Somebody else was faster.
    ASSERT_EQ(chmod(lastResort.c_str(), 0755), 0);
    EXPECT_EQ(temporaryDirectory(), std::nullopt);
    ASSERT_EQ(chmod(lastResort.c_str(), 0700), 0);
    for (const char* variable : {"FLATPAK_ID", "XDG_RUNTIME_DIR", "TMPDIR"})
        unsetenv(variable);
}

TEST(UTF8, LooksNoFurtherThanTheEndItIsGiven)
{
    const std::string_view text = "a\xE2\x82\xAC";
    for (const std::size_t length : {0U, 1U, 2U, 3U, 4U})
        EXPECT_EQ(validUTF8Prefix(text.substr(0, length)), length == 4 ? 4U : std::min<std::size_t>(length, 1));
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
