#include "QuilloryApp/AppDelegate.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>

#include "QuilloryApp/QuilloryApp.h"
#include "TemporaryFolder.h"
#include "fake/FakePlatform.h"
#include "hotkey/HotkeyManager.h"

namespace quillory {

namespace {

using fake::FakePlatform;
using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest()
    {
        unsetenv("XDG_RUNTIME_DIR");
        setenv("TMPDIR", folder.path().c_str(), 1);
        platform.trusted = true;
    }
    ~AppDelegateTest() override { unsetenv("TMPDIR"); }

    int run(std::function<void(ApplicationDelegate&, const Scene&)> whileRunning = {})
    {
        platform.application().whileRunning = std::move(whileRunning);
        return QuilloryApp::main(platform);
    }

    // Whether somebody else could take the lock now.
    bool lockIsFree() const
    {
        const FileDescriptor file(open((folder.path() / "Quillory.lock").c_str(), O_WRONLY | O_CREAT, 0600));
        return flock(file.get(), LOCK_EX | LOCK_NB) == 0;
    }

    std::vector<std::string> stepsSince(std::size_t start) const
    {
        return {platform.steps.begin() + static_cast<std::ptrdiff_t>(start), platform.steps.end()};
    }

    TemporaryFolder folder;
    FakePlatform platform;
};

}

TEST_F(AppDelegateTest, LaunchesInOrder)
{
    platform.screen = Screen {{2000, 1200}};
    platform.resources = folder.path();
    std::filesystem::create_directory(folder.path() / "WebContent");
    folder.write("WebContent/index.html", "");
    run([&](auto&, const auto&) {
        EXPECT_FALSE(lockIsFree());
        EXPECT_THAT(platform.steps,
                    ElementsAre("check trust with prompt", "make tap", "add source", "enable tap",
                                "log: Global hotkey Cmd+Shift+E registered", "after 500 ms",
                                "window 1800x1080 style 15", "title Quillory", "content",
                                "preference allowFileAccessFromFileURLs on", "handler nativeDownload",
                                "handler nativeBatchDownload", "handler nativeFilePicker", "handler nativeImagePicker",
                                "handler nativeCopy", "handler nativePaste", "web view", "navigation delegate",
                                "load index.html of WebContent", "min size 800x800", "center", "delegate",
                                "makeKeyAndOrderFront", "log: Main window created"));
        EXPECT_EQ(platform.windows[0]->view->minSize, (Size {800, 800}));
        platform.steps.clear();
        platform.delayed.front()();
        EXPECT_THAT(platform.lines(), Contains("=== HotkeyManager Status ==="));
        platform.steps.clear();
    });
    EXPECT_THAT(platform.steps, ElementsAre("disable tap", "remove source"));
    EXPECT_TRUE(lockIsFree());
}

TEST_F(AppDelegateTest, SizesTheMainWindowFromTheScreen)
{
    const struct {
        std::optional<Screen> screen;
        const char* step;
    } cases[] = {
        {Screen {{1000, 700}}, "window 900x800 style 15"},
        {Screen {{800, 1200}}, "window 800x1080 style 15"},
        {std::nullopt, "window 1400x900 style 15"},
    };
    for (const auto& [screen, step] : cases) {
        platform.screen = screen;
        platform.steps.clear();
        run();
        EXPECT_THAT(platform.steps, Contains(step));
    }
}

TEST_F(AppDelegateTest, LoadsNothingWithoutAPage)
{
    for (const bool hasResources : {false, true}) {
        if (hasResources)
            platform.resources = folder.path();
        platform.steps.clear();
        run();
        EXPECT_THAT(platform.steps, IsSupersetOf({"handler nativePaste", "log: Main window created"}));
        EXPECT_THAT(platform.steps, testing::Not(Contains(testing::StartsWith("load "))));
    }
}

TEST_F(AppDelegateTest, HandsOverToTheRunningInstance)
{
    const FileDescriptor held(open((folder.path() / "Quillory.lock").c_str(), O_WRONLY | O_CREAT, 0600));
    ASSERT_EQ(flock(held.get(), LOCK_EX), 0);
    platform.otherInstances = 2;
    EXPECT_EQ(run(), 0);
    EXPECT_THAT(platform.steps, ElementsAre("look for com.quillory.Quillory", "activate other instance", "terminate"));

    platform.steps.clear();
    platform.otherInstances = 0;
    run();
    EXPECT_THAT(platform.steps, ElementsAre("look for com.quillory.Quillory", "terminate"));

    platform.steps.clear();
    platform.info.clear();
    run();
    EXPECT_THAT(platform.steps, ElementsAre("terminate"));
}

TEST_F(AppDelegateTest, TerminatesWhenTheLockFileCannotBeOpened)
{
    const auto expectToTerminate = [this](const std::string& where) {
        platform.steps.clear();
        run();
        EXPECT_THAT(platform.steps, ElementsAre("look for com.quillory.Quillory", "terminate")) << where;
    };
    folder.makePipe("Quillory.lock");
    expectToTerminate("a pipe in its place");

    unsetenv("TMPDIR");
    const auto own = "/tmp/quillory-" + std::to_string(getuid());
    mkdir(own.c_str(), 0700);
    chmod(own.c_str(), 0755);
    expectToTerminate("no directory to have it in");
    chmod(own.c_str(), 0700);
}

TEST_F(AppDelegateTest, LeavesTheLockFileAsItIsAndToItself)
{
    folder.write("Quillory.lock", "of an earlier run");
    run([&](auto& delegate, const auto&) {
        EXPECT_FALSE(lockIsFree());
        EXPECT_NE(std::system("ls -l /proc/self/fd | grep -q Quillory.lock"), 0) << "a child process would keep it";
        delegate.applicationWillTerminate();
        EXPECT_TRUE(lockIsFree());
    });
    EXPECT_EQ(folder.read("Quillory.lock"), "of an earlier run");
}

TEST_F(AppDelegateTest, HidesTheMainWindowAndShowsItAgain)
{
    run([&](ApplicationDelegate& delegate, const auto&) {
        auto& window = *platform.windows[0];
        auto start = platform.steps.size();
        EXPECT_FALSE(window.delegate->windowShouldClose(window));
        EXPECT_THAT(stepsSince(start), ElementsAre("orderOut"));
        EXPECT_FALSE(delegate.applicationShouldTerminateAfterLastWindowClosed());

        for (const bool miniaturized : {false, true}) {
            window.miniaturized = miniaturized;
            start = platform.steps.size();
            EXPECT_TRUE(delegate.applicationShouldHandleReopen(miniaturized));
            auto steps = stepsSince(start);
            if (miniaturized) {
                EXPECT_EQ(steps.at(1), "deminiaturize");
                steps.erase(steps.begin() + 1);
            }
            EXPECT_THAT(steps,
                        ElementsAre("activate ignoring others", "visible", "orderFrontRegardless",
                                    "makeKeyAndOrderFront", "activate ignoring others"));
        }
        EXPECT_EQ(platform.windows.size(), 1U);
    });
}

TEST_F(AppDelegateTest, ComesToTheFrontOnTheHotkeyThroughTheMainQueue)
{
    run([&](auto&, const auto&) {
        const auto tap = platform.tap.lock();
        const TapEvent chord {keyCodeE, EventFlags::command | EventFlags::shift};
        const auto start = platform.steps.size();
        EXPECT_EQ(tap->callback(nullptr, EventType::keyDown, &chord, tap->userData), nullptr);
        EXPECT_THAT(stepsSince(start), testing::IsEmpty());
        platform.runMainQueue();
        EXPECT_THAT(stepsSince(start), Contains("orderFrontRegardless"));
    });
}

TEST_F(AppDelegateTest, CreatesTheMainWindowWhenItIsBroughtToFrontBeforeThereIsOne)
{
    const auto delegate = AppDelegate::make(platform);
    EXPECT_EQ(AppDelegate::shared, delegate);
    delegate->bringToFront();
    EXPECT_THAT(platform.lines(), ElementsAre("Main window created"));
    EXPECT_EQ(platform.steps.back(), "activate ignoring others");
    AppDelegate::shared.reset();
}

TEST_F(AppDelegateTest, ShowsOneAboutWindowThroughTheReplacedMenuItem)
{
    std::function<void()> ofAMenu;
    std::weak_ptr<AppDelegate> shared;
    run([&](auto&, const Scene& scene) {
        shared = AppDelegate::shared;
        ASSERT_EQ(scene.commands.size(), 2U);
        EXPECT_EQ(scene.commands[0].replacing, CommandGroupPlacement::newItem);
        EXPECT_TRUE(scene.commands[0].content.empty());
        EXPECT_EQ(scene.commands[1].replacing, CommandGroupPlacement::appInfo);
        const auto& about = scene.commands[1].content.at(0);
        EXPECT_EQ(about.title, "About Quillory");
        ofAMenu = about.action;

        auto start = platform.steps.size();
        about.action();
        EXPECT_THAT(stepsSince(start),
                    ElementsAre("window 400x550 style 3", "title About Quillory", "content", "center",
                                "makeKeyAndOrderFront", "activate"));
        EXPECT_EQ(platform.windows[1]->delegate, nullptr);
        EXPECT_TRUE(platform.windows[0]->delegate->windowShouldClose(*platform.windows[1]));
        start = platform.steps.size();
        about.action();
        EXPECT_THAT(stepsSince(start), ElementsAre("makeKeyAndOrderFront", "activate"));
    });
    EXPECT_TRUE(shared.expired()) << "a menu belongs to a window, and that to the delegate";
    ofAMenu();
}

}
