#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/hotkey/SessionEventTap.h"
#include "platform/hotkey/X11KeyGrab.h"
#include "support/FileDescriptor.h"

namespace quillory {

// The hotkey on X11. The keyboard of the whole session waits for the callback, but no longer than a second,
// whatever the main thread does: a thread of the tap's own takes the presses, asks the main thread and answers
// them. A main thread that is late has the press passed to the focused window; the tap is disabled and the
// callback told so once it is back, and what is pressed until then passes at once.
//
// A press that the callback swallows is answered when the focus has moved because of it: what is typed right after
// it goes to the window that it brought to the front, and the window manager does not see the focus go back first.
class X11EventTap final : public SessionEventTap, public std::enable_shared_from_this<X11EventTap> {
public:
    struct Hooks {
        // Called right before a press goes to the callback, with the time that entitles a window to take the focus.
        std::function<void(std::uint32_t timestamp)> willDeliver;
        // Whether a window of the application has the focus already, which others lose because of a press.
        std::function<bool()> hasFocus;
    };

    // Null if the server cannot be reached, the keymap lacks the chord or another client holds it.
    static std::shared_ptr<X11EventTap> make(const std::string& displayName, EventTapCallback callback, void* userData,
                                             Hooks hooks);
    ~X11EventTap() override;

    // False as well once the connection is lost.
    bool isEnabled() const override;

private:
    using Clock = std::chrono::steady_clock;

    struct HeldPress {
        xcb_timestamp_t press;
        Clock::time_point deadline;
        std::optional<X11KeyGrab::Answer> answer = std::nullopt; // none while the main thread has not decided
        bool awaitsFocus = false; // it is answered when the focus has moved, or at the deadline
    };

    X11EventTap(std::unique_ptr<X11KeyGrab> grab, FileDescriptor wakeUp, EventTapCallback callback, void* userData,
                Hooks hooks);

    // On the main thread.
    void decide();
    HeldPress decided(HeldPress held) const;

    // On the tap's thread.
    void run();
    void takePresses();
    void ask(xcb_timestamp_t press);
    void answerIfDue();
    void wait();

    Hooks m_hooks;
    std::unique_ptr<X11KeyGrab> m_grab; // the thread's, once that runs
    FileDescriptor m_wakeUp; // an event counter: the main thread has decided
    std::mutex m_mutex; // guards the two below
    std::optional<HeldPress> m_held;
    bool m_late = false; // since a press was passed on in place of the main thread, until that knows
    std::thread m_thread;
};

}
