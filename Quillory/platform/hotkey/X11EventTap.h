#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "platform/hotkey/SessionEventTap.h"
#include "platform/hotkey/X11KeyGrab.h"

namespace quillory {

// The hotkey on X11. The keyboard of the whole session waits for the callback, but no longer than a second
// for a main thread that is busy: the press goes to the focused window then, and the tap is disabled and
// the callback told so once the main thread is back.
class X11EventTap final : public SessionEventTap, public std::enable_shared_from_this<X11EventTap> {
public:
    using WillDeliver = std::function<void(std::uint32_t timestamp)>;

    // Null if the server cannot be reached, the keymap lacks the chord or another client holds it.
    static std::shared_ptr<X11EventTap> make(const std::string& displayName, EventTapCallback callback, void* userData,
                                             WillDeliver willDeliver);
    ~X11EventTap() override;

    // False as well once the connection is lost.
    bool isEnabled() const override;

private:
    struct Question;

    X11EventTap(EventTapCallback callback, void* userData, WillDeliver willDeliver);

    std::optional<X11KeyGrab::Answer> askMainThread(const X11KeyGrab::Press& press);
    void take(Question& question);
    bool settle(Question& question);
    X11KeyGrab::Answer decide(const X11KeyGrab::Press& press);

    WillDeliver m_willDeliver;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_timedOut = false; // guarded by m_mutex
    bool m_closing = false; // guarded by m_mutex
    std::unique_ptr<X11KeyGrab> m_grab;
};

}
