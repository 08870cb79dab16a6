#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Accessibility.h"
#include "platform/Alert.h"
#include "platform/Application.h"
#include "platform/Bundle.h"
#include "platform/EventTap.h"
#include "platform/Log.h"
#include "platform/MainQueue.h"
#include "platform/OpenPanel.h"
#include "platform/Pasteboard.h"
#include "platform/RunningApplication.h"
#include "platform/SavePanel.h"
#include "platform/Screen.h"
#include "platform/Timer.h"
#include "platform/WebView.h"
#include "platform/Window.h"
#include "platform/Workspace.h"

namespace quillory {

// Everything the program asks of a desktop, handed to whoever needs some of it. It outlives all that
// it has made. Main thread only, but for what `MainQueue` says of itself.
class Platform {
public:
    virtual ~Platform() = default;

    virtual Log& log() = 0;
    virtual MainQueue& mainQueue() = 0;
    virtual Bundle& mainBundle() = 0;
    virtual Application& application() = 0;
    virtual Pasteboard& generalPasteboard() = 0;
    virtual Workspace& sharedWorkspace() = 0;
    virtual Accessibility& accessibility() = 0;

    // The screen that new windows go to; none without a display that has one.
    virtual std::optional<Screen> mainScreen() = 0;
    // Other processes that run under the identifier, without this one.
    virtual std::vector<std::unique_ptr<RunningApplication>>
    runningApplications(const std::string& bundleIdentifier) = 0;

    // Hidden until ordered front. `contentSize` leaves out menu bar and decorations; a window that the
    // user can miniaturize carries the menu bar.
    virtual std::unique_ptr<Window> makeWindow(Size contentSize, unsigned styleMask) = 0;
    virtual std::unique_ptr<WebViewConfiguration> makeWebViewConfiguration() = 0;
    virtual std::shared_ptr<WebView> makeWebView(std::unique_ptr<WebViewConfiguration> configuration) = 0;
    virtual std::shared_ptr<SavePanel> makeSavePanel() = 0;
    virtual std::shared_ptr<OpenPanel> makeOpenPanel() = 0;
    virtual std::shared_ptr<Alert> makeAlert() = 0;

    // Does `work` on another thread, where it must touch nothing else, and then `done` on the main thread; returns at
    // once. One after the other, in the order given. What is under way when the application ends is not waited for.
    virtual void inBackground(std::function<void()> work, std::function<void()> done) = 0;

    virtual std::unique_ptr<Timer> scheduleTimer(std::chrono::milliseconds interval, bool repeats,
                                                 std::function<void()> block) = 0;

    // A tap, disabled, on the events whose types are set in `mask` (bit n stands for type n); null when
    // the process may not have one. `userData` is handed to `callback` and must outlive the tap.
    virtual std::shared_ptr<EventTap> makeEventTap(std::uint64_t mask, EventTapCallback callback, void* userData) = 0;
    // Null if the tap cannot be listened to.
    virtual std::shared_ptr<RunLoopSource> makeRunLoopSource(const std::shared_ptr<EventTap>& tap) = 0;
};

}
