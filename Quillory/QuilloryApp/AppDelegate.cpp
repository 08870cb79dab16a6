#include "QuilloryApp/AppDelegate.h"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <chrono>

#include "about/AboutView.h"
#include "hotkey/HotkeyManager.h"
#include "platform/Localization.h"
#include "support/TemporaryDirectory.h"
#include "web/ContentView.h"

namespace quillory {

namespace {

constexpr double screenFraction = 0.9;
constexpr Size minimumSize {800, 800};
constexpr Size sizeWithoutScreen {1400, 900};
constexpr Size aboutSize {400, 550};
constexpr std::chrono::milliseconds statusReportDelay {500};

Size mainWindowSize(const std::optional<Screen>& screen)
{
    if (!screen)
        return sizeWithoutScreen;
    return {std::max(screenFraction * screen->visibleFrame.width, minimumSize.width),
            std::max(screenFraction * screen->visibleFrame.height, minimumSize.height)};
}

}

std::shared_ptr<AppDelegate> AppDelegate::shared;

AppDelegate::AppDelegate(Platform& platform)
    : m_platform(platform)
{
}

std::shared_ptr<AppDelegate> AppDelegate::make(Platform& platform)
{
    shared.reset(new AppDelegate(platform));
    return shared;
}

bool AppDelegate::acquireInstanceLock()
{
    const auto directory = temporaryDirectory();
    if (!directory)
        return false;
    const auto path = *directory + "Quillory.lock";
    // Child processes must not inherit the lock, which would outlive this process with them, and a pipe
    // in the file's place must not hold the launch up.
    FileDescriptor handle(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666));
    if (!handle || flock(handle.get(), LOCK_EX | LOCK_NB) != 0)
        return false;
    lockFileHandle = std::move(handle);
    return true;
}

void AppDelegate::applicationWillFinishLaunching()
{
    if (acquireInstanceLock())
        return;
    activateRunningInstance();
    m_platform.application().terminate();
}

void AppDelegate::activateRunningInstance()
{
    const auto identifier = m_platform.mainBundle().bundleIdentifier();
    if (!identifier)
        return;
    const auto others = m_platform.runningApplications(*identifier);
    if (!others.empty())
        others.front()->activate();
}

void AppDelegate::applicationDidFinishLaunching()
{
    HotkeyManager::shared->setupHotkey();
    m_platform.mainQueue().asyncAfter(statusReportDelay, [] { HotkeyManager::shared->printStatus(); });
    createMainWindow();
}

bool AppDelegate::applicationShouldHandleReopen(bool)
{
    bringToFront();
    return true;
}

bool AppDelegate::applicationShouldTerminateAfterLastWindowClosed()
{
    return false;
}

void AppDelegate::createMainWindow()
{
    auto window = m_platform.makeWindow(mainWindowSize(m_platform.mainScreen()),
                                        windowTitled | windowClosable | windowMiniaturizable | windowResizable);
    window->setTitle("Quillory");
    window->setContentView({web::ContentView(m_platform).body(), minimumSize});
    window->setContentMinSize(minimumSize);
    window->center();
    window->setDelegate(this);
    window->makeKeyAndOrderFront();
    mainWindow = std::move(window);
    m_platform.log().print("Main window created");
}

void AppDelegate::bringToFront()
{
    auto& application = m_platform.application();
    application.activateIgnoringOtherApps(true);
    if (!mainWindow)
        createMainWindow();
    if (mainWindow->isMiniaturized())
        mainWindow->deminiaturize();
    mainWindow->setIsVisible(true);
    mainWindow->orderFrontRegardless();
    mainWindow->makeKeyAndOrderFront();
    application.activateIgnoringOtherApps(true);
}

bool AppDelegate::windowShouldClose(Window& sender)
{
    if (&sender != mainWindow.get())
        return true;
    mainWindow->orderOut();
    return false;
}

void AppDelegate::applicationWillTerminate()
{
    HotkeyManager::shared->cleanup();
    if (!lockFileHandle)
        return;
    flock(lockFileHandle.get(), LOCK_UN);
    lockFileHandle.close();
}

void AppDelegate::showAboutWindow()
{
    if (!aboutWindow) {
        aboutWindow = m_platform.makeWindow(aboutSize, windowTitled | windowClosable);
        aboutWindow->setTitle(localized("About Quillory"));
        aboutWindow->setContentView({AboutView(m_platform.mainBundle()).body(), aboutSize});
        aboutWindow->center();
    }
    aboutWindow->makeKeyAndOrderFront();
    m_platform.application().activate();
}

}
