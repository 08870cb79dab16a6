#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "TemporaryFolder.h"
#include "platform/posix/InstalledBundle.h"
#include "platform/posix/StandardLog.h"
#include "support/TemporaryDirectory.h"
#include "support/UTF8.h"

namespace quillory {

TEST(StandardLog, KeepsOneEventOnOneLine)
{
    const std::pair<std::string, std::string> cases[] = {
        {"✅ Decoded 3 bytes", "✅ Decoded 3 bytes"},
        {"name\nwith\r\n\tlines", R"(name\nwith\r\n\tlines)"},
        {{"nul\0 \x1b[31m \x7f", 12}, R"(nul\x00 \x1b[31m \x7f)"},
        {"next\xC2\x85line \xC2\xA0 ä", "next\\x85line \xC2\xA0 ä"},
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

    const auto found = [](const char* flatpak, const std::string& first, const std::string& second) {
        setenv("FLATPAK_ID", flatpak, 1);
        setenv("XDG_RUNTIME_DIR", first.c_str(), 1);
        setenv("TMPDIR", second.c_str(), 1);
        return temporaryDirectory();
    };
    EXPECT_EQ(found("", runtime, temporary), runtime + "/");
    EXPECT_EQ(found("", runtime + "/", temporary), runtime + "/");
    EXPECT_EQ(found("com.quillory.Quillory", runtime, temporary), shared + "/");
    EXPECT_EQ(found("com.quillory.Another", runtime, temporary), runtime + "/");
    // Relative to here, the last one would be one of the user's own.
    const auto here = fs::current_path();
    fs::current_path(folder.path());
    make("relative", 0700);
    for (const std::string& unfit :
         {std::string(), std::string("/missing"), folder.write("file", "").string(), (folder.path() / "link").string(),
          make("group", 0710), make("all", 0701), make("foreign", 0700, 1), std::string("relative")})
        EXPECT_EQ(found("", unfit, temporary), temporary + "/") << unfit;
    EXPECT_EQ(found("", "", make("sticky", 01777)), lastResort);
    EXPECT_EQ(found("", "", ""), lastResort);
    fs::current_path(here);
    // Somebody else was faster.
    ASSERT_EQ(chmod(lastResort.c_str(), 0755), 0);
    EXPECT_EQ(temporaryDirectory(), std::nullopt);
    ASSERT_EQ(chmod(lastResort.c_str(), 0700), 0);
    for (const char* variable : {"FLATPAK_ID", "XDG_RUNTIME_DIR", "TMPDIR"})
        unsetenv(variable);
}

TEST(UTF8, FindsTheWellFormedBeginning)
{
    const std::string leads = "a\x7F\x80\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xEC\xED\xEE\xEF\xF0\xF1\xF3\xF4\xF5\xFF";
    const std::string others = "(\x80\x8F\x90\x9F\xA0\xBF\xC0";
    for (const char lead : leads) {
        for (std::size_t i = 0; i < others.size() * others.size() * others.size(); ++i) {
            const std::string text {lead, others[i % 8], others[i / 8 % 8], others[i / 64]};
            // The parser of JSON knows it too.
            std::size_t length = text.size();
            while (!nlohmann::json::accept('"' + text.substr(0, length) + '"'))
                --length;
            EXPECT_EQ(validUTF8Prefix(text), length);
            EXPECT_EQ(validUTF8Prefix("12345678" + text), length + 8);
            for (std::size_t end = 0; end < text.size(); ++end)
                EXPECT_LE(validUTF8Prefix(std::string_view(text).substr(0, end)), std::min(end, length));
        }
    }
}

TEST(InstalledBundle, ReadsStringsOfItsInformationFile)
{
    const TemporaryFolder folder;
    const posix::InstalledBundle bundle(folder.path() / "bin" / "quillory");
    EXPECT_EQ(bundle.resourceURL(), std::nullopt);
    std::filesystem::create_directories(folder.path() / "share" / "quillory");
    EXPECT_EQ(bundle.resourceURL(), folder.path() / "share" / "quillory");

    EXPECT_EQ(bundle.infoString("CFBundleVersion"), std::nullopt);
    for (const char* json : {R"({"CFBundleVersion": 37})", R"({"CFBundle": "37"})", "[]", "{", ""}) {
        folder.write("share/quillory/Info.json", json);
        EXPECT_EQ(bundle.infoString("CFBundleVersion"), std::nullopt) << json;
    }
    folder.write("share/quillory/Info.json", R"({"CFBundleVersion": "37"})");
    EXPECT_EQ(bundle.infoString("CFBundleVersion"), "37");
}

}
