#pragma once

#include <memory>

#include "platform/Platform.h"
#include "support/FileDescriptor.h"

namespace quillory {

// Owns every window of the program, keeps it to one running instance and starts and stops the hotkey.
// Main thread only.
class AppDelegate final : public ApplicationDelegate, public WindowDelegate {
public:
    // The one delegate of the process, through which the hotkey reaches it.
    static std::shared_ptr<AppDelegate> shared;

    // Makes the delegate and records it as `shared`.
    static std::shared_ptr<AppDelegate> make(Platform& platform);

    bool applicationShouldTerminateAfterLastWindowClosed() override;
    bool applicationShouldHandleReopen(bool hasVisibleWindows) override;
    void applicationWillFinishLaunching() override;
    void applicationDidFinishLaunching() override;
    bool windowShouldClose(Window& sender) override;
    void applicationWillTerminate() override;
    void showAboutWindow();

    // True if this process now holds the lock. The lock file is never written to and never removed.
    bool acquireInstanceLock();
    void createMainWindow();
    void bringToFront();

private:
    explicit AppDelegate(Platform& platform);

    void activateRunningInstance();

    Platform& m_platform;
    FileDescriptor lockFileHandle; // open only while this process holds the lock
    std::unique_ptr<Window> aboutWindow;
    std::unique_ptr<Window> mainWindow;
};

}
