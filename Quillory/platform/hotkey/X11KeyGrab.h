#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/hotkey/X11Chord.h"
#include "platform/hotkey/Xcb.h"

namespace quillory {

// The hotkey's chord as passive grabs on a connection of its own, so that the server gives them up
// whatever becomes of the process. The grabs follow the keymap.
//
// A grabbed press freezes the keyboard of the session until it is answered: it is replayed to the focused
// window or swallowed. A thread of its own sees to that. Repeats are presses as well; releases are never
// taken.
class X11KeyGrab {
public:
    struct Press {
        std::uint32_t timestamp; // the server's, in milliseconds
        std::uint64_t flags; // EventFlags
    };
    enum class Answer { pass, swallow };
    // Called on the grab's thread, while the keyboard waits. Nothing stands for a press that has been answered
    // meanwhile.
    using Decide = std::function<std::optional<Answer>(const Press& press)>;

    // Null if the server cannot be reached, the keymap lacks the chord or another client holds it.
    static std::unique_ptr<X11KeyGrab> make(const std::string& displayName, Decide decide);

    // Whether the server is there and knows keymaps.
    static bool isAvailable(const std::string& displayName);

    // Waits for a decision that is being made.
    ~X11KeyGrab();
    X11KeyGrab(const X11KeyGrab&) = delete;
    X11KeyGrab& operator=(const X11KeyGrab&) = delete;

    // On any thread.
    bool isConnected() const;

    // Once for each press, on any thread. The window that comes to the front gets the focus after the answer,
    // so whoever decides need not wait for the grab's thread to send it.
    void answer(const Press& press, Answer answer);

private:
    explicit X11KeyGrab(Decide decide);

    bool connect(const std::string& displayName);
    void selectKeymapEvents();
    // All of it or nothing.
    bool grab(const X11Chord& chord);
    void ungrab(const X11Chord& chord);

    void run();
    void handle(const xcb_generic_event_t& event);
    void handleKeyPress(const xcb_key_press_event_t& press);
    void followKeymap();

    Decide m_decide;
    XcbConnection m_connection;
    std::vector<xcb_window_t> m_roots;
    std::uint8_t m_firstKeymapEvent = 0;
    bool m_keymapChanged = false;
    std::optional<X11Chord> m_chord;
    std::thread m_thread;
};

}
