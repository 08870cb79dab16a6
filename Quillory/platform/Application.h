#pragma once

#include "platform/Scene.h"

namespace quillory {

// What the application tells its delegate. All calls arrive on the main thread.
class ApplicationDelegate {
public:
    virtual ~ApplicationDelegate() = default;

    // Before anything of the desktop is touched: no display connection, no bus name.
    virtual void applicationWillFinishLaunching() = 0;
    virtual void applicationDidFinishLaunching() = 0;
    // Somebody asked for the application again: a second launch, the launcher, the desktop.
    virtual bool applicationShouldHandleReopen(bool hasVisibleWindows) = 0;
    virtual bool applicationShouldTerminateAfterLastWindowClosed() = 0;
    // Exactly once per run, whatever ended it short of a crash.
    virtual void applicationWillTerminate() = 0;
};

// The running program as the desktop sees it. Main thread only.
class Application {
public:
    virtual ~Application() = default;

    // Delivers the launch callbacks, runs the event loop until `terminate` and delivers
    // `applicationWillTerminate`. A `terminate` during `applicationWillFinishLaunching` ends the run
    // before any connection to the desktop is made. Returns the exit status: 0 after a normal run,
    // 1 if there is no display to open (said in one line on standard error).
    virtual int run(ApplicationDelegate& delegate, const Scene& scene) = 0;

    // Asks for the end of the run; returns at once. May be called at any time, also twice.
    virtual void terminate() = 0;

    // Makes this the active application as far as the window system lets it.
    virtual void activate() = 0;
    // The same, and other applications have no say: windows ordered front next take the focus.
    virtual void activateIgnoringOtherApps(bool ignoringOtherApps) = 0;
};

}
