#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/hotkey/X11Chord.h"
#include "platform/hotkey/Xcb.h"

namespace quillory {

// The hotkey's chord as passive grabs on a connection of its own, so that the server gives them up
// whatever becomes of the process. The grabs follow the keymap.
//
// A grabbed press freezes the keyboard of the session until it is answered: it is replayed to the focused
// window or swallowed. Repeats are presses as well; releases are never taken.
//
// On one thread at a time, but for what says otherwise.
class X11KeyGrab {
public:
    enum class Answer { pass, swallow };

    // Null if the server cannot be reached, the keymap lacks the chord or another client holds it.
    static std::unique_ptr<X11KeyGrab> make(const std::string& displayName);

    // Whether the server is there and knows keymaps.
    static bool isAvailable(const std::string& displayName);

    X11KeyGrab(const X11KeyGrab&) = delete;
    X11KeyGrab& operator=(const X11KeyGrab&) = delete;

    // The connection, readable when there may be presses. On any thread.
    int descriptor() const { return xcb_get_file_descriptor(m_connection.get()); }
    bool isConnected() const { return xcb_connection_has_error(m_connection.get()) == 0; }

    // The next press of the chord, which has to be answered, or nothing if none waits any more: its time in the
    // server's milliseconds. Never blocks.
    std::optional<xcb_timestamp_t> nextPress();
    // Once for each press.
    void answer(xcb_timestamp_t press, Answer answer);

    // Begins or ends to look whether another window is made the active one. Then the connection is readable.
    void watchActiveWindow(bool watch);
    // Whether one was since that began, as far as events have been taken.
    bool hasActiveWindowChanged() const { return m_activeWindowChanged; }

private:
    X11KeyGrab() = default;

    bool connect(const std::string& displayName);
    void selectKeymapEvents();
    // All of it or nothing.
    bool grab(const X11Chord& chord);
    void ungrab(const X11Chord& chord);

    void followKeymap();

    XcbConnection m_connection;
    std::vector<xcb_window_t> m_roots;
    std::uint8_t m_firstKeymapEvent = 0;
    xcb_atom_t m_activeWindow = XCB_ATOM_NONE;
    bool m_keymapChanged = false;
    bool m_activeWindowChanged = false;
    std::optional<X11Chord> m_chord;
};

}
