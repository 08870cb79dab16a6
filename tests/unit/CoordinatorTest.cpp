#include "web/Coordinator.h"

#include <gmock/gmock.h>

#include "TemporaryFolder.h"
#include "fake/FakePlatform.h"
#include "fake/PlainValue.h"
#include "support/StringBytes.h"

namespace quillory::web {

namespace {

using fake::FakePlatform;
using fake::PlainValue;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;
using Lines = std::vector<std::string>;
using Settings = std::map<std::string, std::string>;
using Object = std::map<std::string, json>;
using Array = std::vector<json>;

// The coordinator in a web view, with a page that a test speaks for.
class CoordinatorTest : public testing::Test {
protected:
    void post(const std::string& name, json body = {})
    {
        view->post(name, std::make_shared<PlainValue>(std::move(body)));
    }

    // Lets what was posted run and returns the lines it logged.
    Lines linesAfter(const std::string& name, json body = {})
    {
        platform.steps.clear();
        post(name, std::move(body));
        platform.runMainQueue();
        return platform.lines();
    }

    fake::FakePanel takePanel()
    {
        EXPECT_FALSE(platform.panels.empty());
        auto panel = std::move(platform.panels.front());
        platform.panels.pop_front();
        platform.steps.clear();
        return panel;
    }

    Lines choose(const std::filesystem::path& path)
    {
        takePanel().completion(ModalResponse::ok, path);
        finish();
        return platform.lines();
    }

    // Does what is still to be done, a batch's further turns too.
    void finish()
    {
        for (platform.runMainQueue(); !platform.delayed.empty(); platform.runMainQueue()) {
            for (const auto& work : std::exchange(platform.delayed, {}))
                work();
        }
    }

    // The scripts that a page gets which asks how a request ended; without `chosen` its panel is cancelled.
    std::vector<std::string> answers(const std::string& name, Object body,
                                     const std::optional<std::filesystem::path>& chosen = {})
    {
        view->scripts.clear();
        body["reply"] = "it's 1";
        linesAfter(name, body);
        if (!platform.panels.empty())
            takePanel().completion(chosen ? ModalResponse::ok : ModalResponse::cancel, chosen);
        finish();
        return view->scripts;
    }

    static std::string answer(const std::string& result, const std::string& name, const std::string& rest = {})
    {
        return R"(window.handleNativeResult('{"reply":"it\'s 1","result":")" + result + R"(","name":")" + name + '"'
            + rest + "}');";
    }

    FakePlatform platform;
    std::shared_ptr<WebView::Coordinator> coordinator = WebView(platform).makeCoordinator();
    std::shared_ptr<fake::FakeWebView> view =
        std::dynamic_pointer_cast<fake::FakeWebView>(WebView(platform).makeNSView({coordinator}));
    TemporaryFolder folder;
};

// A download with so many keys.
json withKeys(int count)
{
    Object object {{"filename", "a.png"}, {"data", ",QUJD"}};
    for (int i = 2; i < count; ++i)
        object[std::to_string(i)] = "";
    return object;
}

json file(const std::string& name, const std::string& data)
{
    return Object {{"filename", name}, {"data", data}};
}

}

TEST_F(CoordinatorTest, RefusesBodiesOfAnotherShape)
{
    const json number = 1;
    const struct {
        const char* message;
        const char* line;
        std::vector<json> bodies;
    } cases[] = {
        {"nativeDownload",
         "❌ Invalid download message",
         {json(), true, number, "text", Array {}, Object {}, Object {{"filename", "a.png"}}, Object {{"data", ",QUJD"}},
          Object {{"filename", "a.png"}, {"data", ",QUJD"}, {"size", number}},
          Object {{"filename", "a.png"}, {"data", json()}}, Object {{"filename", number}, {"data", ",QUJD"}},
          withKeys(100'001)}},
        {"nativeBatchDownload",
         "❌ Invalid batch download message",
         {json(), "text", Array {}, Object {}, Object {{"file", Array {}}}, Object {{"files", "text"}},
          Object {{"files", Object {}}}, Object {{"files", Array {file("a", ",QUJD"), number}}},
          Object {{"files", Array {Object {{"filename", "a"}, {"data", ",QUJD"}, {"n", number}}}}},
          Object {{"files", Array(100'001, Object {})}}}},
        {"nativeCopy",
         "❌ Invalid copy message",
         {json(), "text", Array {}, Object {}, Object {{"text", "x"}}, Object {{"data", number}},
          Object {{"data", "x"}, {"count", number}}}},
    };
    for (const auto& [message, line, bodies] : cases) {
        for (const auto& body : bodies) {
            EXPECT_THAT(linesAfter(message, body), ElementsAre(line));
            EXPECT_THAT(platform.panels, IsEmpty());
        }
    }
    EXPECT_THAT(platform.generalPasteboard().strings, IsEmpty());
}

TEST_F(CoordinatorTest, NamesAMessageThatNobodyHandles)
{
    EXPECT_THAT(linesAfter("NativeDownload"), ElementsAre("❌ Unknown message: NativeDownload"));
}

TEST_F(CoordinatorTest, ShowsPickersAfterTheMessageWasHandled)
{
    post("nativeFilePicker");
    post("nativeImagePicker", "anything");
    EXPECT_THAT(platform.lines(),
                ElementsAre("📂 Native file picker requested", "🖼️ Native image picker requested"));
    EXPECT_THAT(platform.panels, IsEmpty());
    platform.runMainQueue();
    EXPECT_EQ(platform.panels.size(), 2U);
}

TEST_F(CoordinatorTest, SavesADownloadWhereTheUserSays)
{
    EXPECT_THAT(
        linesAfter("nativeDownload", Object {{"filename", "logo.png"}, {"data", "xyz,QUJD"}, {"note", "extra"}}),
        ElementsAre("📥 Native download requested: logo.png", "✅ Decoded 3 bytes"));
    const auto path = folder.write("logo.png", "something longer that was there before");
    EXPECT_THAT(choose(path), ElementsAre("✅ File saved to: " + path.string()));
    EXPECT_EQ(folder.read("logo.png"), "ABC");

    linesAfter("nativeDownload", file("empty", "data:application/octet-stream;base64,"));
    EXPECT_THAT(platform.lines(), ElementsAre("📥 Native download requested: empty", "✅ Decoded 0 bytes"));
    choose(folder.path() / "empty");
    EXPECT_EQ(folder.read("empty"), "");

    EXPECT_THAT(linesAfter("nativeDownload", file("a", "no comma")),
                ElementsAre("📥 Native download requested: a", "❌ Failed to decode data URL"));
    EXPECT_THAT(platform.panels, IsEmpty());

    linesAfter("nativeDownload", file("a", ",QUJD"));
    EXPECT_THAT(choose(folder.path() / "missing" / "a"), ElementsAre("❌ Error saving file: No such file or directory"));
}

TEST_F(CoordinatorTest, TellsAPageThatAsksHowItEnded)
{
    const auto reason = [](const std::string& text) { return R"(,"reason":")" + text + '"'; };
    const Object download {{"filename", "a.png"}, {"data", ",QUJD"}};
    const auto batch = [](const Array& files) { return Object {{"files", files}, {"count", 1}}; };
    const auto project = folder.write("p.json", "{}");
    const auto missing = folder.path() / "missing" / "p.json";
    const auto name = folder.path().filename().string();
    std::filesystem::create_directory(folder.path() / "sub");
    const std::string noFile = reason("No such file or directory");
    const struct {
        const char* message;
        Object body;
        std::optional<std::filesystem::path> chosen;
        std::string answer;
    } cases[] = {
        {"nativeDownload", download, {}, answer("cancelled", "a.png")},
        {"nativeDownload", download, missing, answer("failed", "p.json", noFile)},
        {"nativeDownload",
         {{"filename", "a"}, {"data", "!"}},
         {},
         answer("failed", "a", reason("Failed to decode data URL"))},
        {"nativeDownload", {{"filename", "a"}}, {}, answer("failed", "", reason("Invalid download message"))},
        {"nativeBatchDownload", batch({file("b", ",QUJD")}), folder.path(), answer("saved", name)},
        {"nativeBatchDownload", batch({file("b", ",QUJD")}), {}, answer("cancelled", "")},
        {"nativeBatchDownload", batch({file("b", ",QUJD"), file("sub", ",")}), folder.path(),
         answer("failed", name, reason("sub: Is a directory"))},
        {"nativeBatchDownload", {}, {}, answer("failed", "", reason("Invalid batch download message"))},
        {"nativeFilePicker", {}, {}, answer("cancelled", "")},
        {"nativeFilePicker", {}, missing, answer("failed", "p.json", noFile)},
    };
    for (const auto& [message, body, chosen, expected] : cases)
        EXPECT_THAT(answers(message, body, chosen), ElementsAre(expected));
    EXPECT_THAT(answers("nativeFilePicker", {}, project),
                ElementsAre(testing::StartsWith(answer("opened", "p.json").substr(0, 60)),
                            "window.handleNativeFileContent('{}');"));
}

TEST_F(CoordinatorTest, WritesAFileAgainForThePageThatHasItsHandle)
{
    const auto path = folder.write("logo.png", "older");
    Object body {{"filename", "a.png"}, {"data", ",QUJD"}};
    const auto saved = answers("nativeDownload", body, path);
    ASSERT_THAT(saved, ElementsAre(testing::HasSubstr(R"("result":"saved","name":"logo.png","file":")")));
    body["file"] = saved[0].substr(saved[0].find("file\":\"") + 7, 32);
    body["data"] = ",QQ==";
    EXPECT_EQ(answers("nativeDownload", body), saved);
    EXPECT_THAT(
        platform.lines(),
        ElementsAre("📥 Native download requested: a.png", "✅ Decoded 1 bytes", "✅ File saved to: " + path.string()));
    EXPECT_EQ(folder.read("logo.png"), "A");

    // Without the wish for an answer the key is one of those that nobody reads.
    linesAfter("nativeDownload", body);
    EXPECT_EQ(platform.panels.size(), 1U);
    takePanel();

    // Neither the handle nor what was asked for before outlives the page.
    linesAfter("nativeDownload", Object {{"filename", "a"}, {"data", ","}, {"reply", "2"}});
    view->endPage();
    body["data"] = ",QUJD";
    EXPECT_THAT(answers("nativeDownload", body),
                ElementsAre(answer("failed", "a.png", R"(,"reason":"The page has no such file")")));
    EXPECT_EQ(folder.read("logo.png"), "A");
    EXPECT_THAT(platform.alerts, IsEmpty());
}

TEST_F(CoordinatorTest, TellsTheUserWhatWasNotSavedOrOpened)
{
    using Texts = std::pair<std::string, std::string>;
    const auto next = [this] {
        finish();
        const auto alert = platform.alerts.empty() ? fake::FakeAlert() : platform.alerts.front();
        platform.alerts.clear();
        if (alert.answer)
            alert.answer(alertFirstButtonReturn);
        return Texts {alert.messageText, alert.informativeText};
    };
    const std::string noFile = "No such file or directory";
    linesAfter("nativeDownload", file("a", ",QUJD"));
    choose(folder.path() / "missing" / "logo\n.png");
    EXPECT_EQ(next(), Texts("“logo?.png” was not saved", noFile));

    const std::string longName(300, 'n');
    linesAfter("nativeBatchDownload", Object {{"files", Array {file("a", ",QUJD"), Object {}, file(longName, ",")}}});
    choose(folder.path());
    // What fails while an alert is open waits for the next one, where all of it is together.
    view->dropFiles({"/missing/a.png", "/missing/p.json"});
    finish();
    EXPECT_EQ(platform.alerts.size(), 1U);
    EXPECT_EQ(next(),
              Texts("Files saved: 1/3", "There is no content that can be read\n" + longName.substr(0, 200) + "…"));
    EXPECT_EQ(next(),
              Texts("Not every file was saved or opened",
                    "“a.png” was not opened: " + noFile + "\n“p.json” was not opened: " + noFile));
    EXPECT_EQ(next(), Texts());
}

TEST_F(CoordinatorTest, LimitsTheSavePanelByTheNamesExtension)
{
    const std::pair<const char*, const char*> cases[] = {
        {"Logo.PNG", "image/png"},      {"photo.jpg", "image/jpeg"},
        {"photo.JPEG", "image/jpeg"},   {"a.b.pdf", "application/pdf"},
        {"p.json", "application/json"}, {".png", "image/png"},
        {"notes.txt", nullptr},         {"README", nullptr},
        {"v1.0/png", nullptr},          {"dot.", nullptr},
    };
    for (const auto& [name, types] : cases) {
        linesAfter("nativeDownload", file(name, ","));
        Settings settings {{"name", name}, {"create directories", "yes"}};
        if (types != nullptr)
            settings["types"] = types;
        EXPECT_EQ(takePanel().settings, settings);
    }
}

TEST_F(CoordinatorTest, EndsSilentlyWhenAPanelIsCancelled)
{
    for (const char* message : {"nativeDownload", "nativeFilePicker", "nativeImagePicker"}) {
        linesAfter(message, file("a.png", ",QUJD"));
        takePanel().completion(ModalResponse::cancel, folder.path() / "a.png");
        linesAfter(message, file("a.png", ",QUJD"));
        takePanel().completion(ModalResponse::ok, std::nullopt);
        EXPECT_THAT(platform.steps, IsEmpty()) << message;
    }
    linesAfter("nativeBatchDownload", Object {{"files", Array {file("a.png", ",QUJD")}}});
    takePanel().completion(ModalResponse::cancel, folder.path());
    EXPECT_THAT(platform.steps, IsEmpty());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(CoordinatorTest, SavesABatchIntoOneFolder)
{
    folder.write("old.txt", "a content that is replaced");
    std::filesystem::create_directory(folder.path() / "sub");
    std::filesystem::create_directory(folder.path() / "is-a-folder");
    const TemporaryFolder outside;
    std::filesystem::create_symlink(outside.path(), folder.path() / "link");
    std::filesystem::create_symlink("sub", folder.path() / "inner-link");
    outside.write("target", "untouched");
    std::filesystem::create_symlink(outside.path() / "target", folder.path() / "link-to-file");
    const auto leaving = [](const std::string& name) {
        return "❌ Error saving " + name + ": The name leads out of the chosen folder";
    };

    // The next one has to wait until the first is written.
    const std::string large(3 << 20, '\0');
    const Array files {
        file("old.txt", "," + std::string(4 << 20, 'A')),
        Object {},
        Object {{"filename", "no data"}},
        Object {{"data", ",QUJD"}},
        file("no comma", "QUJD"),
        file("not base64", ",QUJ"),
        file("same", ",QUJD"),
        file("same", ",QQ=="),
        file("sub/file", ",QUJD"),
        file("sub/../up-and-down", ",QUJD"),
        file("inner-link/linked", ",QUJD"),
        file("missing/file", ",QUJD"),
        file("../outside", ",QUJD"),
        file("/absolute", ",QUJD"),
        file("link/outside", ",QUJD"),
        file("link-to-file", ",QUJD"),
        file("is-a-folder", ",QUJD"),
    };
    EXPECT_THAT(linesAfter("nativeBatchDownload", Object {{"files", files}}),
                ElementsAre("📥 Batch download requested: 17 files"));
    EXPECT_EQ(platform.panels.front().settings,
              (Settings {{"files", "no"},
                         {"directories", "yes"},
                         {"multiple", "no"},
                         {"create directories", "yes"},
                         {"message", "Choose a folder to save 17 files"},
                         {"prompt", "Save Here"}}));
    EXPECT_THAT(choose(folder.path()),
                ElementsAre("❌ Error saving missing/file: No such file or directory", leaving("../outside"),
                            leaving("/absolute"), leaving("link/outside"), leaving("link-to-file"),
                            "❌ Error saving is-a-folder: Is a directory",
                            "✅ Saved 6/17 files to: " + folder.path().string()));
    EXPECT_TRUE(folder.read("old.txt") == large);
    EXPECT_EQ(folder.read("same"), "A");
    EXPECT_EQ(folder.read("sub/file"), "ABC");
    EXPECT_EQ(folder.read("sub/linked"), "ABC");
    EXPECT_EQ(folder.read("up-and-down"), "ABC");
    EXPECT_EQ(outside.read("target"), "untouched");
    EXPECT_FALSE(std::filesystem::exists(outside.path() / "outside"));
}

TEST_F(CoordinatorTest, SavesAnEmptyBatch)
{
    EXPECT_THAT(linesAfter("nativeBatchDownload", Object {{"files", Array {}}}),
                ElementsAre("📥 Batch download requested: 0 files"));
    EXPECT_THAT(choose(folder.path()), ElementsAre("✅ Saved 0/0 files to: " + folder.path().string()));
}

TEST_F(CoordinatorTest, HandsAProjectFileToThePageIfItIsText)
{
    const auto open = [this](const std::string& content) {
        view->scripts.clear();
        linesAfter("nativeFilePicker");
        return choose(folder.write("project.json", content));
    };
    const std::string accepted[] = {
        "",
        "not JSON, it's text\\\r\n",
        "\xEF\xBB\xBF{}",
        std::string("a\0b", 3),
        std::string(100'000, '\''),
        "12345678\x7F 12345678\xC2\x80\xDF\xBF 12345678",
        "\xE0\xA0\x80\xE0\xBF\xBF\xE1\x80\x80\xEC\xBF\xBF\xED\x80\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF",
        "\xF0\x90\x80\x80\xF0\xBF\xBF\xBF\xF1\x80\x80\x80\xF3\xBF\xBF\xBF\xF4\x80\x80\x80\xF4\x8F\xBF\xBF",
    };
    for (const auto& content : accepted) {
        open(content);
        EXPECT_THAT(platform.steps, ElementsAre("evaluate", "log: ✅ File loaded: project.json")) << content;
        EXPECT_THAT(view->scripts, ElementsAre(scriptForText(fileContentCall, content)));
    }
    const std::string refused[] = {
        // Overlong, a surrogate, too high, and bytes that nothing starts with.
        "\xC1\xBF",
        "\xE0\x9F\xBF",
        "\xF0\x8F\xBF\xBF",
        "\xED\xA0\x80",
        "\xF4\x90\x80\x80",
        "\xF5\x80\x80\x80",
        "\x80",
        "12345678\xFF",
        // Cut off by the end or by something else.
        "\xC3",
        "\xE2\x82",
        "\xF1\x80\x80",
        "\xC3(",
        "\xC3\xC0",
        "\xE2(\xA1",
        "\xE2\x82(",
        "\xE2\x82\xC0",
        "\xF1(\x80\x80",
        "\xF1\x80(\x80",
        "\xF1\x80\x80(",
        "\xF1\x80\x80\xC0 and more text",
    };
    for (const auto& content : refused) {
        EXPECT_THAT(open(content), ElementsAre("❌ Error reading file: The file is not valid UTF-8 text")) << content;
        EXPECT_THAT(view->scripts, IsEmpty());
    }
}

TEST_F(CoordinatorTest, ReadsToTheEndWhateverSizeAFileHas)
{
    // One is said to have a page of memory, the other, which is larger than the first step, nothing at all.
    linesAfter("nativeFilePicker");
    EXPECT_THAT(choose("/sys/devices/system/cpu/online"), ElementsAre("✅ File loaded: online"));
    linesAfter("nativeFilePicker");
    EXPECT_THAT(choose("/proc/kallsyms"), ElementsAre("✅ File loaded: kallsyms"));
    EXPECT_THAT(view->scripts,
                ElementsAre(testing::MatchesRegex(R"(window\.handleNativeFileContent\('[0-9,-]+\\n'\);)"),
                            testing::SizeIs(testing::Gt(1U << 20))));
}

TEST_F(CoordinatorTest, ReadsRegularFilesOnly)
{
    const auto sparse = [this](const char* name, std::uintmax_t size) {
        std::filesystem::resize_file(folder.write(name, ""), size);
        return folder.path() / name;
    };
    const struct {
        std::filesystem::path path;
        const char* error;
    } cases[] = {
        {folder.path() / "missing", "No such file or directory"},
        {folder.path(), "Is a directory"},
        {folder.makePipe("pipe"), "Not a regular file"},
        {"/dev/zero", "Not a regular file"},
        {sparse("gibibyte", std::uintmax_t {1} << 30), "File too large"},
        {sparse("larger than memory", std::uintmax_t {4} << 40), "File too large"},
    };
    for (const auto& [path, error] : cases) {
        linesAfter("nativeFilePicker");
        EXPECT_THAT(choose(path), ElementsAre(std::string("❌ Error reading file: ") + error));
        linesAfter("nativeImagePicker");
        EXPECT_THAT(choose(path), ElementsAre(std::string("❌ Error reading image: ") + error));
    }
}

TEST_F(CoordinatorTest, HandsAnImageToThePageWithTheTypeOfItsName)
{
    const struct {
        const char* name;
        const char* mimeType;
    } cases[] = {
        {"a.png", "image/png"},   {"Photo.JPG", "image/jpeg"}, {"a.jpeg", "image/jpeg"}, {"a.gif", "image/gif"},
        {"a.webp", "image/webp"}, {"a.heic", "image/heic"},    {"a.bmp", "image/bmp"},   {"scan.tif", "image/tiff"},
        {"a.tiff", "image/tiff"}, {"a.jfif", "image/png"},     {"noname", "image/png"},
    };
    for (const auto& [name, mimeType] : cases) {
        const auto path = folder.write(name, "ABC");
        post("nativeImagePicker");
        platform.runMainQueue();
        view->scripts.clear();
        choose(path);
        EXPECT_THAT(platform.steps, ElementsAre("evaluate", std::string("log: ✅ Image loaded: ") + name));
        EXPECT_THAT(view->scripts,
                    ElementsAre(std::string("window.handleNativeImageContent('data:") + mimeType + ";base64,QUJD');"));
    }
}

TEST_F(CoordinatorTest, OpensDroppedFilesAsTheirPickersWould)
{
    view->dropFiles({folder.write("a.PNG", "ABC"), folder.write("notes.txt", "text"), folder.write("p.json", "{}"),
                     folder.path() / "gone.png", folder.path() / "gone"});
    EXPECT_THAT(platform.steps,
                testing::IsSupersetOf({"log: ✅ Image loaded: a.PNG", "log: ✅ File loaded: p.json",
                                       "log: ❌ Error reading image: No such file or directory"}));
    EXPECT_THAT(view->scripts,
                ElementsAre("window.handleNativeImageContent('data:image/png;base64,QUJD');",
                            "window.handleNativeFileContent('{}');"));
}

TEST_F(CoordinatorTest, DescribesThePickersPanels)
{
    linesAfter("nativeFilePicker");
    const Settings common {{"files", "yes"}, {"directories", "no"}, {"multiple", "no"}};
    auto project = common;
    project.insert({{"message", "Select a Quillory project file"}, {"types", "application/json"}});
    EXPECT_EQ(takePanel().settings, project);
    linesAfter("nativeImagePicker");
    auto image = common;
    image.insert({{"message", "Select an image to add to canvas"},
                  {"types", "image/png image/jpeg image/gif image/webp image/heic image/bmp image/tiff"}});
    EXPECT_EQ(takePanel().settings, image);
}

TEST_F(CoordinatorTest, LogsHowACallOfThePageEnded)
{
    coordinator->sendFileContentToPage("x");
    coordinator->sendImageToPage({"image/png", std::make_shared<StringBytes>("x")});
    coordinator->sendPasteContentToPage("x");
    EXPECT_THAT(platform.lines(), IsEmpty());
    for (const auto& completion : view->completions)
        completion(std::nullopt);
    for (const auto& completion : view->completions)
        completion("domain 1: message");
    EXPECT_THAT(platform.lines(),
                ElementsAre("✅ File content sent to JavaScript", "✅ Image sent to JavaScript",
                            "✅ Paste content sent to JavaScript", "❌ JavaScript error: domain 1: message",
                            "❌ JavaScript error: domain 1: message", "❌ JavaScript paste error: domain 1: message"));
}

TEST_F(CoordinatorTest, SaysNothingToAPageThatIsGone)
{
    linesAfter("nativeFilePicker");
    const auto path = folder.write("project.json", "{}");
    view.reset();
    EXPECT_THAT(choose(path), ElementsAre("✅ File loaded: project.json"));
    coordinator->sendPasteContentToPage("x");
    EXPECT_THAT(platform.steps, ElementsAre("log: ✅ File loaded: project.json"));
}

TEST_F(CoordinatorTest, CopiesUnderBothTypesAfterClearing)
{
    platform.generalPasteboard().strings["image"] = "of somebody else";
    for (const std::string text : {"", "it's {\"type\": 1}"}) {
        linesAfter("nativeCopy", Object {{"data", text}});
        EXPECT_THAT(platform.steps,
                    ElementsAre("clear pasteboard", "copy as com.quillory.object", "copy as public.utf8-plain-text",
                                "log: 📋 Copied to native pasteboard"));
        EXPECT_EQ(platform.generalPasteboard().strings,
                  (Settings {{"com.quillory.object", text}, {"public.utf8-plain-text", text}}));
    }
}

TEST_F(CoordinatorTest, PastesTheFirstThingThatTheCanvasCanTake)
{
    const std::string object = "com.quillory.object";
    const std::string string = "public.utf8-plain-text";
    const std::string canvas = R"({"type":"rect","left":1})";
    const auto image = std::make_shared<StringBytes>("PNG");
    const std::string pasted = "window.handleNativePasteContent('";
    const struct {
        Settings strings;
        std::shared_ptr<const Bytes> image;
        const char* line; // null if nothing is pasted
        std::string script;
    } cases[] = {
        {{{object, "own"}, {string, canvas}}, image, "📥 Pasted Quillory object from pasteboard", pasted + "own');"},
        {{{object, ""}}, image, "📥 Pasted Quillory object from pasteboard", pasted + "');"},
        {{{string, canvas}}, image, "📥 Pasted JSON object from pasteboard", pasted + canvas + "');"},
        {{{string, R"("type" "objects")"}},
         nullptr,
         "📥 Pasted JSON object from pasteboard",
         pasted + R"("type" "objects"');)"},
        {{{string, R"({"Type":1,"left":1})"}},
         image,
         "📥 Pasted image from pasteboard",
         "window.handleNativeImageContent('data:image/png;base64,UE5H');"},
        {{{string, R"({"type":1,"right":1})"}}, nullptr, nullptr, ""},
        {{{string, "type left objects"}}, nullptr, nullptr, ""},
        {{{string, ""}},
         image,
         "📥 Pasted image from pasteboard",
         "window.handleNativeImageContent('data:image/png;base64,UE5H');"},
        {{}, nullptr, nullptr, ""},
    };
    for (const auto& [strings, picture, line, script] : cases) {
        platform.generalPasteboard().strings = strings;
        platform.generalPasteboard().image = picture;
        view->scripts.clear();
        linesAfter("nativePaste");
        if (line == nullptr) {
            EXPECT_THAT(platform.steps, IsEmpty());
        } else {
            EXPECT_THAT(platform.steps, ElementsAre("evaluate", std::string("log: ") + line));
            EXPECT_THAT(view->scripts, ElementsAre(script));
        }
    }
}

TEST_F(CoordinatorTest, AnswersPastesInTheOrderTheyWereAsked)
{
    auto& pasteboard = platform.generalPasteboard();
    pasteboard.answersLater = true;
    pasteboard.strings["com.quillory.object"] = "first";
    post("nativePaste");
    post("nativePaste");
    post("nativePaste");
    // The second one asks only when the first was answered.
    for (const char* text : {"first", "second", "third"}) {
        ASSERT_EQ(pasteboard.answers.size(), 1U);
        pasteboard.strings["com.quillory.object"] = text;
        pasteboard.answerNext();
        platform.runMainQueue();
    }
    EXPECT_THAT(view->scripts,
                ElementsAre("window.handleNativePasteContent('first');", "window.handleNativePasteContent('second');",
                            "window.handleNativePasteContent('third');"));
}

}
