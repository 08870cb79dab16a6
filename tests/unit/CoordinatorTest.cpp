#include "web/Coordinator.h"

#include <gmock/gmock.h>

#include <thread>

#include "TemporaryFolder.h"
#include "fake/FakePlatform.h"
#include "fake/PlainValue.h"

namespace quillory::web {

namespace {

namespace fs = std::filesystem;
using namespace nlohmann::literals;
using fake::PlainValue;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

// The coordinator in a web view, with a page that a test speaks for.
class CoordinatorTest : public testing::Test {
protected:
    // Posts a message, lets all of it run and returns the lines it logged.
    Texts post(const std::string& name, const json& body = {})
    {
        view->scripts.clear();
        platform.stepsOf([&] { view->post(name, std::make_shared<PlainValue>(body)); });
        platform.runMainQueue();
        return platform.lines;
    }

    // Ends the panel that is open and returns the lines since the message that opened it.
    Texts choose(const std::optional<fs::path>& path, ModalResponse response = ModalResponse::ok)
    {
        takePanel().completion(response, path);
        platform.runMainQueue();
        return platform.lines;
    }

    fake::FakePanel takePanel()
    {
        EXPECT_EQ(platform.panels.size(), 1U);
        auto panel = platform.panels.front();
        platform.panels.clear();
        return panel;
    }

    // What the page was answered that asked how a request ended; the other scripts stay.
    json takeAnswer()
    {
        const std::string head = "window.handleNativeResult('";
        if (view->scripts.empty() || !view->scripts.front().starts_with(head))
            return {};
        auto text = view->scripts.front().substr(head.size());
        view->scripts.erase(view->scripts.begin());
        return json::parse(text.erase(text.rfind("');")).erase(text.find("\\'"), 1));
    }

    fs::path inFolder(const std::string& name) const { return folder.path() / name; }

    fake::FakePlatform platform;
    std::shared_ptr<WebView::Coordinator> coordinator = WebView(platform).makeCoordinator();
    std::shared_ptr<fake::FakeWebView> view =
        std::dynamic_pointer_cast<fake::FakeWebView>(WebView(platform).makeNSView({coordinator}));
    TemporaryFolder folder;
};

const json download {{"filename", "a.png"}, {"data", ",QUJD"}};

}

TEST_F(CoordinatorTest, RefusesBodiesOfAnotherShape)
{
    auto refused = R"({
        "nativeDownload": [null, true, 1, "text", [], {}, {"filename": "a"}, {"data": ",QUJD"},
                     {"filename": 1, "data": ",QUJD"}, {"filename": "a", "data": null},
                     {"filename": "a", "data": ",QUJD", "size": 1}],
        "nativeBatchDownload": [null, "text", [], {}, {"file": []}, {"files": "text"}, {"files": {}},
                           {"files": [{"filename": "a", "data": ",QUJD"}, 1]},
                           {"files": [{"filename": "a", "data": ",QUJD", "n": 1}]}],
        "nativeCopy": [null, "text", [], {}, {"text": "x"}, {"data": 1}, {"data": "x", "count": 1}]
    })"_json;
    // As many files as there may be are taken, and not one more.
    json files(100'000, json::object());
    post("nativeBatchDownload", {{"files", files}});
    takePanel();
    files.push_back(json::object());
    refused["nativeBatchDownload"].push_back({{"files", files}});
    for (const auto& [message, kind] : {std::pair {"nativeDownload", "download"},
                                        {"nativeBatchDownload", "batch download"},
                                        {"nativeCopy", "copy"}}) {
        for (const auto& body : refused[message]) {
            EXPECT_THAT(post(message, body), ElementsAre(std::string("❌ Invalid ") + kind + " message"));
            EXPECT_THAT(platform.panels, IsEmpty());
        }
    }
    EXPECT_THAT(platform.copied, IsEmpty());
    EXPECT_THAT(post("NativeDownload"), ElementsAre("❌ Unknown message: NativeDownload"));
}

TEST_F(CoordinatorTest, DescribesItsPanels)
{
    auto cases = R"([
        ["nativeFilePicker", {"files": true, "directories": false, "multiple": false, "types": ["application/json"],
                              "message": "Select a Quillory project file"}],
        ["nativeImagePicker", {"files": true, "directories": false, "multiple": false,
            "types": ["image/png", "image/jpeg", "image/gif", "image/webp", "image/heic", "image/bmp", "image/tiff"],
            "message": "Select an image to add to canvas"}],
        ["nativeBatchDownload", {"files": false, "directories": true, "multiple": false, "create directories": true,
                                 "message": "Choose a folder to save 1 files", "prompt": "Save Here"}]
    ])"_json;
    const auto types = R"({"Logo.PNG": "image/png", "photo.jpg": "image/jpeg", "photo.JPEG": "image/jpeg",
        "a.b.pdf": "application/pdf", "p.json": "application/json", ".png": "image/png", "notes.txt": null,
        "README": null, "v1.0/png": null, "dot.": null})"_json;
    for (const auto& [name, type] : types.items()) {
        cases.push_back({"nativeDownload", {{"name", name}, {"create directories", true}}});
        if (!type.is_null())
            cases.back()[1]["types"] = {type};
    }
    for (const auto& row : cases) {
        const json body {{"filename", row[1].value("name", "")}, {"data", ","}};
        const json batch {{"files", {body}}};
        view->post(row[0], std::make_shared<PlainValue>(row[0] == "nativeBatchDownload" ? batch : body));
        EXPECT_THAT(platform.panels, IsEmpty()) << "while the message is handled";
        platform.runMainQueue();
        EXPECT_EQ(takePanel().settings, row[1]);
    }
}

TEST_F(CoordinatorTest, EndsARequestAsTheUserChooses)
{
    folder.write("old", "something longer that was there before");
    folder.write("p.json", "it's");
    folder.write("a.PNG", "ABC");
    fs::create_directory(inFolder("sub"));
    // The message and where the user wants it; the last line of the log, what the page is answered and what it is
    // given.
    const auto cases = R"([
        ["nativeDownload", {"filename": "a", "data": ","}, "empty", "✅ File saved to: FOLDER/empty", ["saved", "empty"]],
        ["nativeDownload", {"filename": "a", "data": "x,QUJD", "more": ""}, "old", "✅ File saved to: FOLDER/old",
         ["saved", "old"]],
        ["nativeDownload", {"filename": "a", "data": ","}, "missing/b",
         "❌ Error saving file: No such file or directory", ["failed", "b", "No such file or directory"]],
        ["nativeDownload", {"filename": "a", "data": ",QQ=="}, null, "✅ Decoded 1 bytes", ["cancelled", "a"]],
        ["nativeDownload", {"filename": "a", "data": "QUJD"}, null, "❌ Failed to decode data URL",
         ["failed", "a", "Failed to decode data URL"]],
        ["nativeDownload", {"filename": "a"}, null, "❌ Invalid download message",
         ["failed", "", "Invalid download message"]],
        ["nativeBatchDownload", {"files": []}, "sub", "✅ Saved 0/0 files to: FOLDER/sub", ["saved", "sub"]],
        ["nativeBatchDownload", {"files": [{"filename": "b", "data": ","}, {"filename": "c"}], "n": 1}, "sub",
         "✅ Saved 1/2 files to: FOLDER/sub", ["failed", "sub", "c: There is no content that can be read"]],
        ["nativeBatchDownload", {"files": []}, null, "📥 Batch download requested: 0 files", ["cancelled", ""]],
        ["nativeBatchDownload", {}, null, "❌ Invalid batch download message",
         ["failed", "", "Invalid batch download message"]],
        ["nativeFilePicker", {}, "p.json", "✅ File loaded: p.json", ["opened", "p.json"],
         "window.handleNativeFileContent('it\\'s');"],
        ["nativeFilePicker", {}, "missing/p.json", "❌ Error reading file: No such file or directory",
         ["failed", "p.json", "No such file or directory"]],
        ["nativeFilePicker", {}, null, "📂 Native file picker requested", ["cancelled", ""]],
        ["nativeImagePicker", {}, "a.PNG", "✅ Image loaded: a.PNG", null,
         "window.handleNativeImageContent('data:image/png;base64,QUJD');"],
        ["nativeImagePicker", {}, null, "🖼️ Native image picker requested", null]
    ])"_json;
    for (const auto& row : cases) {
        std::string line = row[3];
        if (const auto place = line.find("FOLDER"); place != std::string::npos)
            line.replace(place, 6, folder.path());
        for (const bool isAsked : {false, true}) {
            SCOPED_TRACE(row);
            auto body = row[1];
            if (isAsked)
                body["reply"] = "it's 1";
            post(row[0], body);
            if (!platform.panels.empty()) {
                const bool isChosen = !row[2].is_null();
                // Neither a path without a yes nor a yes without a path is a choice.
                const auto path = isChosen ? inFolder(row[2]) : inFolder("x");
                choose(isChosen || isAsked ? std::optional(path) : std::nullopt,
                       isChosen || !isAsked ? ModalResponse::ok : ModalResponse::cancel);
            }
            EXPECT_EQ(platform.lines.back(), line);
            json expected;
            if (isAsked && !row[4].is_null())
                expected = {{"reply", "it's 1"}, {"result", row[4][0]}, {"name", row[4][1]}};
            if (isAsked && row[4].size() > 2)
                expected["reason"] = row[4][2];
            auto answer = takeAnswer();
            if (answer.contains("file"))
                answer.erase("file");
            EXPECT_EQ(answer, expected);
            EXPECT_EQ(view->scripts, row.size() > 5 ? Texts {row[5]} : Texts {});
        }
    }
    EXPECT_EQ(folder.read("old"), "ABC");
}

TEST_F(CoordinatorTest, WritesAFileAgainForThePageThatHasItsHandle)
{
    auto body = download;
    body["reply"] = "it's 1";
    post("nativeDownload", body);
    choose(folder.write("logo.png", "older"));
    const auto saved = takeAnswer();
    EXPECT_THAT(std::string(saved["file"]), testing::MatchesRegex("[0-9a-f]{32}"));
    body["file"] = saved["file"];
    body["data"] = ",QQ==";
    EXPECT_THAT(post("nativeDownload", body), testing::Contains("✅ File saved to: " + inFolder("logo.png").string()));
    EXPECT_EQ(takeAnswer(), saved);
    EXPECT_EQ(folder.read("logo.png"), "A");

    // Without the wish for an answer the key is one of those that nobody reads.
    body.erase("reply");
    post("nativeDownload", body);
    takePanel();

    // Neither the handle nor what was asked for before outlives the page.
    body["reply"] = "it's 1";
    body["data"] = ",QUJD";
    post("nativeDownload", {{"filename", "a"}, {"data", ","}, {"reply", "2"}});
    view->endPage();
    post("nativeDownload", body);
    EXPECT_EQ(takeAnswer()["reason"], "The page has no such file");
    EXPECT_EQ(folder.read("logo.png"), "A");
    EXPECT_THAT(platform.alerts, IsEmpty());
}

TEST_F(CoordinatorTest, TellsTheUserWhatWasNotSavedOrOpened)
{
    const auto expectAlert = [this](const std::string& message, const std::string& text) {
        ASSERT_EQ(platform.alerts.size(), 1U);
        const auto alert = platform.alerts.front();
        platform.alerts.clear();
        const json settings {{"message", message}, {"text", text}, {"style", 0}, {"buttons", {"OK"}}, {"modal", false}};
        EXPECT_EQ(alert.settings, settings);
        alert.answer(alertFirstButtonReturn);
        platform.runMainQueue();
    };
    const auto saveBatch = [this](const json& files) {
        post("nativeBatchDownload", {{"files", files}});
        choose(folder.path());
    };
    const std::string noFile = "No such file or directory", noContent = ": There is no content that can be read";
    post("nativeDownload", download);
    choose(inFolder("missing/logo\n\x7F.png"));
    expectAlert("“logo??.png” was not saved", noFile);

    // Ten lines at most, and of each 200 bytes, cut between characters.
    json files(10, {{"filename", "x"}});
    const std::string longest(200 - noContent.size(), 'n'), letters(199, 'n');
    std::string list = longest + noContent + "\n" + letters + "…\nn" + longest + noContent;
    list.replace(list.size() - 1, 1, "…");
    files[0]["filename"] = longest;
    files[1]["filename"] = letters + "å";
    files[2]["filename"] = "n" + longest;
    for (int i = 0; i < 7; ++i)
        list += "\nx" + noContent;
    saveBatch(files);
    expectAlert("Files saved: 0/10", list);
    files.push_back({});
    saveBatch(files);

    // What fails while an alert is open waits for the next one, where all of it is together.
    const std::vector<fs::path> gone(12, "/missing/\xFF\x80.png");
    view->dropFiles(gone);
    platform.runMainQueue();
    expectAlert("Files saved: 0/11", list + "\n…");
    list.clear();
    for (int i = 0; i < 10; ++i)
        list += "“??.png” was not opened: " + noFile + "\n";
    expectAlert("Not every file was saved or opened", list + "…");
    EXPECT_THAT(platform.alerts, IsEmpty());
}

TEST_F(CoordinatorTest, SavesABatchIntoOneFolder)
{
    const TemporaryFolder outside;
    outside.write("target", "untouched");
    folder.write("old", "a content that is replaced");
    for (const char* name : {"sub", "is-a-folder"})
        fs::create_directory(inFolder(name));
    for (const auto& [name, target] :
         {std::pair {"link", outside.path()}, {"link-to-file", outside.path() / "target"}, {"inner-link", "sub"}})
        fs::create_symlink(target, inFolder(name));
    auto files = R"([
        {}, {"filename": "no data"}, {"data": ",QUJD"}, {"filename": "no comma", "data": "QUJD"},
        {"filename": "not base64", "data": ",QUJ"}, {"filename": "same", "data": ",QUJD"},
        {"filename": "same", "data": ",QQ=="}, {"filename": "sub/file", "data": ",QUJD"},
        {"filename": "sub/../up-and-down", "data": ",QUJD"}, {"filename": "inner-link/linked", "data": ",QUJD"}
    ])"_json;
    for (const char* name : {"missing/file", "../outside", "/absolute", "link/outside", "link-to-file", "is-a-folder"})
        files.push_back({{"filename", name}, {"data", ",QUJD"}});
    // The next one has to wait until the first is written.
    files.insert(files.begin(), json {{"filename", "old"}, {"data", "," + std::string(4 << 20, 'A')}});
    post("nativeBatchDownload", {{"files", files}});
    const auto leaving = [](const std::string& name) {
        return "❌ Error saving " + name + ": The name leads out of the chosen folder";
    };
    EXPECT_THAT(
        choose(folder.path()),
        ElementsAre("📥 Batch download requested: 17 files", "❌ Error saving missing/file: No such file or directory",
                    leaving("../outside"), leaving("/absolute"), leaving("link/outside"), leaving("link-to-file"),
                    "❌ Error saving is-a-folder: Is a directory", "✅ Saved 6/17 files to: " + folder.path().string()));
    EXPECT_TRUE(folder.read("old") == std::string(3 << 20, '\0'));
    EXPECT_EQ(folder.read("same"), "A");
    for (const char* name : {"sub/file", "sub/linked", "up-and-down"})
        EXPECT_EQ(folder.read(name), "ABC");
    EXPECT_EQ(outside.read("target"), "untouched");
    EXPECT_FALSE(fs::exists(outside.path() / "outside"));
}

TEST_F(CoordinatorTest, HandsAProjectFileToThePageIfItIsText)
{
    for (const std::string& content : {std::string("a\0b\\\r\n", 6), std::string(100'000, '\''), std::string()}) {
        post("nativeFilePicker");
        EXPECT_EQ(choose(folder.write("p", content)).back(), "✅ File loaded: p");
        EXPECT_EQ(platform.steps.at(1), "evaluate");
        EXPECT_THAT(view->scripts, ElementsAre(fake::whole(scriptForText(fileContentCall, content))));
    }
    post("nativeFilePicker");
    EXPECT_EQ(choose(folder.write("p", "not \xFF")).back(), "❌ Error reading file: The file is not valid UTF-8 text");
    EXPECT_THAT(view->scripts, IsEmpty());
}

TEST_F(CoordinatorTest, ReadsRegularFilesToTheEndAndNothingElse)
{
    const auto sparse = [this](const char* name, std::uintmax_t size) {
        fs::resize_file(folder.write(name, ""), size);
        return inFolder(name);
    };
    const std::pair<fs::path, std::string> cases[] = {
        {inFolder("missing"), "No such file or directory"},
        {folder.path(), "Is a directory"},
        {folder.makePipe("pipe"), "Not a regular file"},
        {"/dev/zero", "Not a regular file"},
        {sparse("gibibyte", std::uintmax_t {1} << 30), "File too large"},
        {sparse("larger than memory", std::uintmax_t {4} << 40), "File too large"},
    };
    for (const auto& [path, error] : cases) {
        for (const auto& [message, what] :
             {std::pair {"nativeFilePicker", "file: "}, {"nativeImagePicker", "image: "}}) {
            post(message);
            EXPECT_EQ(choose(path).back(), std::string("❌ Error reading ") + what + error);
        }
    }
    // One is said to have a page of memory, the other, which is larger than the first step, nothing at all.
    post("nativeFilePicker");
    choose("/sys/devices/system/cpu/online");
    EXPECT_THAT(view->scripts,
                ElementsAre(testing::MatchesRegex(R"(window\.handleNativeFileContent\('[0-9,-]+\\n'\);)")));
    post("nativeFilePicker");
    choose("/proc/kallsyms");
    EXPECT_THAT(view->scripts, ElementsAre(testing::SizeIs(testing::Gt(1U << 20))));
}

TEST_F(CoordinatorTest, RefusesAFileThatIsWrittenToMeanwhile)
{
    const auto path = folder.write("a.json", std::string(16 << 20, ' '));
    const std::jthread writer([&](const std::stop_token& stop) {
        for (std::fstream file(path); !stop.stop_requested();)
            file.seekp(0) << ' ' << std::flush;
    });
    // The other thread may get no turn during one reading.
    std::string last;
    for (int reading = 0; reading < 50 && !last.starts_with("❌"); ++reading) {
        post("nativeFilePicker");
        last = choose(path).back();
    }
    EXPECT_EQ(last, "❌ Error reading file: The file was changed while it was read");
}

TEST_F(CoordinatorTest, OpensDroppedFilesAsTheirPickersWould)
{
    const auto types = R"({"a.png": "png", "Photo.JPG": "jpeg", "a.jpeg": "jpeg", "a.gif": "gif", "a.webp": "webp",
        "a.heic": "heic", "a.bmp": "bmp", "scan.tif": "tiff", "a.tiff": "tiff"})"_json
                           .get<std::map<std::string, std::string>>();
    for (const auto& [name, type] : types) {
        view->scripts.clear();
        const auto path = folder.write(name, "ABC");
        EXPECT_THAT(platform.stepsOf([&] { view->dropFiles({path}); }),
                    ElementsAre("evaluate", "log: ✅ Image loaded: " + name));
        EXPECT_THAT(view->scripts,
                    ElementsAre("window.handleNativeImageContent('data:image/" + type + ";base64,QUJD');"));
    }
    platform.stepsOf([&] {
        view->dropFiles(
            {inFolder("gone.png"), folder.write("notes.txt", "text"), folder.write("p.json", "{}"), inFolder("gone")});
    });
    EXPECT_THAT(platform.lines,
                ElementsAre("❌ Error reading image: No such file or directory", "✅ File loaded: p.json"));
    // What is picked as an image is taken for one.
    post("nativeImagePicker");
    choose(folder.write("a.jfif", "ABC"));
    EXPECT_THAT(view->scripts, ElementsAre("window.handleNativeImageContent('data:image/png;base64,QUJD');"));
}

TEST_F(CoordinatorTest, LogsHowACallOfThePageEnded)
{
    coordinator->sendFileContentToPage("x");
    coordinator->sendImageToPage({"image/png", std::make_shared<StringBytes>("x")});
    coordinator->sendPasteContentToPage("x");
    EXPECT_THAT(platform.lines, IsEmpty());
    for (const auto& error : {std::optional<std::string>(), std::optional<std::string>("domain 1: message")}) {
        for (const auto& completion : view->completions)
            completion(error);
    }
    EXPECT_THAT(platform.lines,
                ElementsAre("✅ File content sent to JavaScript", "✅ Image sent to JavaScript",
                            "✅ Paste content sent to JavaScript", "❌ JavaScript error: domain 1: message",
                            "❌ JavaScript error: domain 1: message", "❌ JavaScript paste error: domain 1: message"));
}

TEST_F(CoordinatorTest, SaysNothingToAPageThatIsGone)
{
    post("nativeFilePicker");
    view.reset();
    EXPECT_EQ(choose(folder.write("project.json", "{}")).back(), "✅ File loaded: project.json");
    coordinator->sendPasteContentToPage("x");
    EXPECT_EQ(platform.steps.back(), "log: ✅ File loaded: project.json");
}

TEST_F(CoordinatorTest, CopiesUnderBothTypesAfterClearing)
{
    platform.copied["image"] = "of somebody else";
    for (const std::string text : {"", "it's {\"type\": 1}"}) {
        post("nativeCopy", {{"data", text}});
        EXPECT_THAT(platform.steps,
                    ElementsAre("clear pasteboard", "copy as com.quillory.object", "copy as public.utf8-plain-text",
                                "log: 📋 Copied to native pasteboard"));
        EXPECT_EQ(json(platform.copied), (json {{"com.quillory.object", text}, {"public.utf8-plain-text", text}}));
    }
}

TEST_F(CoordinatorTest, PastesTheFirstThingThatTheCanvasCanTake)
{
    // What was copied as an object, as a text and as an image; what is pasted.
    const auto cases = R"([
        ["own", "{\"type\":1,\"left\":1}", "PNG", "Quillory object", "window.handleNativePasteContent('own');"],
        ["", null, "PNG", "Quillory object", "window.handleNativePasteContent('');"],
        [null, "{\"type\":1,\"left\":1}", "PNG", "JSON object",
         "window.handleNativePasteContent('{\"type\":1,\"left\":1}');"],
        [null, "\"type\" \"objects\"", null, "JSON object", "window.handleNativePasteContent('\"type\" \"objects\"');"],
        [null, "{\"Type\":1,\"left\":1}", "PNG", "image",
         "window.handleNativeImageContent('data:image/png;base64,UE5H');"],
        [null, "", "PNG", "image", "window.handleNativeImageContent('data:image/png;base64,UE5H');"],
        [null, "{\"type\":1,\"right\":1}", null],
        [null, "type left objects", null],
        [null, null, null]
    ])"_json;
    for (const auto& row : cases) {
        SCOPED_TRACE(row);
        platform.copied.clear();
        if (!row[0].is_null())
            platform.copied["com.quillory.object"] = row[0];
        if (!row[1].is_null())
            platform.copied["public.utf8-plain-text"] = row[1];
        platform.copiedImage = row[2].is_null() ? nullptr : std::make_shared<StringBytes>(row[2]);
        post("nativePaste");
        EXPECT_EQ(view->scripts, row.size() > 3 ? Texts {row[4]} : Texts {});
        if (row.size() > 3)
            EXPECT_THAT(platform.steps,
                        ElementsAre("evaluate", "log: 📥 Pasted " + row[3].get<std::string>() + " from pasteboard"));
        else
            EXPECT_THAT(platform.steps, IsEmpty());
    }
}

TEST_F(CoordinatorTest, AnswersPastesInTheOrderTheyWereAsked)
{
    for (int i = 0; i < 3; ++i)
        view->post("nativePaste", std::make_shared<PlainValue>(nullptr));
    // The second one asks only when the first was answered.
    for (const char* text : {"first", "second", "third"}) {
        ASSERT_EQ(platform.queue.size(), 1U);
        platform.copied["com.quillory.object"] = text;
        platform.runNext();
        EXPECT_EQ(view->scripts.back(), std::string("window.handleNativePasteContent('") + text + "');");
        if (!platform.queue.empty())
            platform.runNext();
    }
}

}
