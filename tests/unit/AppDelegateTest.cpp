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

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest()
    {
        unsetenv("XDG_RUNTIME_DIR");
        setenv("TMPDIR", folder.path().c_str(), 1);
        platform.trusted = true;
    }
    ~AppDelegateTest() override { unsetenv("TMPDIR"); }

    fake::Steps run(std::function<void(ApplicationDelegate&, const Scene&)> whileRunning = [](auto&, auto&) {})
    {
        platform.whileRunning = std::move(whileRunning);
        return platform.stepsOf([this] { EXPECT_EQ(QuilloryApp::main(platform), 0); });
    }

    FileDescriptor openLock() const
    {
        return FileDescriptor(open((folder.path() / "Quillory.lock").c_str(), O_WRONLY | O_CREAT, 0600));
    }

    // Whether somebody else could take the lock now.
    bool lockIsFree() const { return flock(openLock().get(), LOCK_EX | LOCK_NB) == 0; }

    TemporaryFolder folder;
    fake::FakePlatform platform;
};

}

TEST_F(AppDelegateTest, LaunchesInOrder)
{
    platform.screen = Screen {{2000, 1200}};
    platform.resources = folder.path();
    std::filesystem::create_directory(folder.path() / "WebContent");
    folder.write("WebContent/index.html", "");
    EXPECT_THAT(run([&](auto&, const auto&) {
                    EXPECT_FALSE(lockIsFree());
                    EXPECT_THAT(platform.steps,
                                ElementsAre("check trust with prompt", "make tap on 1024", "add source", "enable tap",
                                            "log: Global hotkey Cmd+Shift+E registered", "after 500 ms",
                                            "window 1800x1080 style 15", "title Quillory",
                                            "content of at least 800x800", "allowFileAccessFromFileURLs on",
                                            "handler nativeDownload", "handler nativeBatchDownload",
                                            "handler nativeFilePicker", "handler nativeImagePicker",
                                            "handler nativeCopy", "handler nativePaste", "web view",
                                            "navigation delegate", "load index.html of WebContent", "min size 800x800",
                                            "center", "delegate", "makeKeyAndOrderFront", "log: Main window created"));
                    platform.runMainQueue();
                    EXPECT_THAT(platform.lines, Contains("=== HotkeyManager Status ==="));
                    EXPECT_THAT(platform.alerts, IsEmpty());
                    platform.steps.clear();
                }),
                ElementsAre("disable tap", "remove source"));
    EXPECT_TRUE(lockIsFree());
}

TEST_F(AppDelegateTest, SizesTheMainWindowFromTheScreen)
{
    const std::pair<std::optional<Screen>, const char*> cases[] = {{Screen {{1000, 700}}, "window 900x800 style 15"},
                                                                   {Screen {{800, 1200}}, "window 800x1080 style 15"},
                                                                   {std::nullopt, "window 1400x900 style 15"}};
    for (const auto& [screen, step] : cases) {
        platform.screen = screen;
        EXPECT_THAT(run(), Contains(step));
    }
}

TEST_F(AppDelegateTest, LoadsNothingWithoutAPage)
{
    for (const auto& resources : {std::optional<std::filesystem::path>(), std::optional(folder.path())}) {
        platform.resources = resources;
        EXPECT_THAT(run(), testing::Not(Contains(testing::StartsWith("load "))));
        EXPECT_THAT(platform.lines, Contains("Main window created"));
    }
}

TEST_F(AppDelegateTest, HandsOverToTheRunningInstance)
{
    const auto held = openLock();
    ASSERT_EQ(flock(held.get(), LOCK_EX), 0);
    platform.otherInstances = 2;
    EXPECT_THAT(run(), ElementsAre("look for com.quillory.Quillory", "activate other instance", "terminate"));
    platform.info.clear();
    EXPECT_THAT(run(), ElementsAre("terminate"));
}

TEST_F(AppDelegateTest, TerminatesWhenTheLockFileCannotBeOpened)
{
    folder.makePipe("Quillory.lock");
    EXPECT_THAT(run(), ElementsAre("look for com.quillory.Quillory", "terminate"));
    // There is no directory to have it in.
    unsetenv("TMPDIR");
    const auto own = "/tmp/quillory-" + std::to_string(getuid());
    mkdir(own.c_str(), 0700);
    chmod(own.c_str(), 0755);
    EXPECT_THAT(run(), ElementsAre("look for com.quillory.Quillory", "terminate"));
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
    run([&](auto& delegate, const auto&) {
        auto& window = *platform.windows.at(0);
        const auto reopen = [&] { EXPECT_TRUE(delegate.applicationShouldHandleReopen(window.miniaturized)); };
        EXPECT_THAT(platform.stepsOf([&] { EXPECT_FALSE(window.delegate->windowShouldClose(window)); }),
                    ElementsAre("orderOut"));
        EXPECT_FALSE(delegate.applicationShouldTerminateAfterLastWindowClosed());
        EXPECT_THAT(platform.stepsOf(reopen),
                    ElementsAre("activate ignoring others", "visible", "orderFrontRegardless", "makeKeyAndOrderFront",
                                "activate ignoring others"));
        window.miniaturized = true;
        EXPECT_THAT(platform.stepsOf(reopen),
                    ElementsAre("activate ignoring others", "deminiaturize", "visible", "orderFrontRegardless",
                                "makeKeyAndOrderFront", "activate ignoring others"));

        const TapEvent chord {keyCodeE, EventFlags::command | EventFlags::shift};
        EXPECT_THAT(platform.stepsOf([&] { platform.tap.lock()->send(EventType::keyDown, &chord); }), IsEmpty());
        platform.runMainQueue();
        EXPECT_THAT(platform.steps, Contains("orderFrontRegardless"));
        EXPECT_EQ(platform.windows.size(), 1U);
    });
}

TEST_F(AppDelegateTest, CreatesTheMainWindowWhenItIsBroughtToFrontBeforeThereIsOne)
{
    const auto delegate = AppDelegate::make(platform);
    EXPECT_EQ(AppDelegate::shared, delegate);
    delegate->bringToFront();
    EXPECT_THAT(platform.lines, ElementsAre("Main window created"));
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
        EXPECT_THAT(scene.commands[0].content, IsEmpty());
        EXPECT_EQ(scene.commands[1].replacing, CommandGroupPlacement::appInfo);
        const auto& about = scene.commands[1].content.at(0);
        EXPECT_EQ(about.title, "About Quillory");
        ofAMenu = about.action;
        EXPECT_THAT(platform.stepsOf(ofAMenu),
                    ElementsAre("window 400x550 style 3", "title About Quillory", "content of at least 400x550",
                                "center", "makeKeyAndOrderFront", "activate"));
        EXPECT_EQ(platform.windows[1]->delegate, nullptr);
        EXPECT_TRUE(platform.windows[0]->delegate->windowShouldClose(*platform.windows[1]));
        EXPECT_THAT(platform.stepsOf(ofAMenu), ElementsAre("makeKeyAndOrderFront", "activate"));
    });
    EXPECT_TRUE(shared.expired()) << "a menu belongs to a window, and that to the delegate";
    ofAMenu();
}

}
