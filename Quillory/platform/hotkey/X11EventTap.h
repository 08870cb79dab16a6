#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "platform/glib/GObjectPtr.h"
#include "platform/glib/Timeout.h"
#include "platform/hotkey/SessionEventTap.h"
#include "platform/hotkey/X11KeyGrab.h"

namespace quillory {

// The hotkey on X11. The keyboard of the whole session waits for the callback, but no longer than a second
// for a main thread that is busy: the press goes to the focused window then, and the tap is disabled and
// the callback told so once the main thread is back.
//
// The main thread takes the presses, so that none waits for another thread to be woken. A thread of the tap's
// own only sees to it that they are taken in time.
//
// A press that the callback swallows is answered when the focus has moved because of it: what is typed right after
// it goes to the window that it brought to the front, and the window manager does not see the focus go back first.
class X11EventTap final : public SessionEventTap, public std::enable_shared_from_this<X11EventTap> {
public:
    // Both may be empty.
    struct Hooks {
        std::function<void(std::uint32_t timestamp)> willDeliver;
        std::function<bool()> hasFocus; // whether the application has it already
    };

    // Null if the server cannot be reached, the keymap lacks the chord or another client holds it.
    static std::shared_ptr<X11EventTap> make(const std::string& displayName, EventTapCallback callback, void* userData,
                                             Hooks hooks);
    ~X11EventTap() override;

    // False as well once the connection is lost.
    bool isEnabled() const override;

private:
    X11EventTap(EventTapCallback callback, void* userData, Hooks hooks);

    // On the main thread.
    void start();
    void takePresses();
    void take(const X11KeyGrab::Press& press);
    X11KeyGrab::Answer decide(const X11KeyGrab::Press& press);
    void swallowWhenFocusHasMoved();
    void swallow();
    // Unless it was answered in place of the main thread.
    void answerPending(X11KeyGrab::Answer answer);
    void tellIfLate();

    // On the tap's thread.
    void watch();
    // Until it has taken all again; passes the presses on in its place if that takes too long. False if the
    // tap is closing.
    bool awaitMainThread(std::uint64_t taken);

    struct Pending {
        X11KeyGrab::Press press;
        X11KeyGrab::Answer answer;
    };

    Hooks m_hooks;
    std::unique_ptr<X11KeyGrab> m_grab;
    GSourcePtr m_source;
    Timeout m_swallow;
    std::thread m_watch;

    std::mutex m_mutex; // guards all below
    std::condition_variable m_changed;
    std::uint64_t m_taken = 0; // how often the main thread has taken all that there was
    std::optional<Pending> m_pending; // with the answer that it gets from the tap's thread
    bool m_late = false; // since a press was passed on in place of the main thread, until that knows
    bool m_closing = false;
};

}
