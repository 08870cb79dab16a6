#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/hotkey/SessionEventTap.h"
#include "platform/hotkey/X11Chord.h"
#include "platform/hotkey/Xcb.h"
#include "platform/hotkey/XcbSource.h"

namespace quillory {

// The hotkey as passive grabs on a connection of its own, so that the server gives them up whatever
// becomes of the process.
//
// A grabbed press freezes the keyboard of the session until it is answered. Every press is: one that
// the callback lets pass, and any press while the tap is disabled or off the run loop, is replayed to
// the focused window. Between a swallowed press and its release the keyboard is not frozen, and its
// repeats are delivered like presses.
class X11EventTap final : public SessionEventTap {
public:
    using WillDeliver = std::function<void(std::uint32_t timestamp)>;

    // Null if the server cannot be reached, the keymap lacks the chord or another client holds it.
    static std::shared_ptr<X11EventTap> make(const std::string& displayName, EventTapCallback callback, void* userData,
                                             WillDeliver willDeliver);

    // Whether the server is there and knows keymaps.
    static bool isAvailable(const std::string& displayName);

    // False as well once the connection is lost.
    bool isEnabled() const override;

private:
    X11EventTap(EventTapCallback callback, void* userData, WillDeliver willDeliver);

    bool connect(const std::string& displayName);
    void selectKeymapEvents();
    // All of it or nothing.
    bool grab(const X11Chord& chord);
    void ungrab(const X11Chord& chord);
    void followKeymap();

    void handle(const xcb_generic_event_t& event);
    void handleKeyPress(const xcb_key_press_event_t& press);
    void answer(std::uint8_t mode, xcb_timestamp_t time);

    WillDeliver m_willDeliver;
    XcbConnection m_connection;
    std::vector<xcb_window_t> m_roots;
    std::uint8_t m_firstKeymapEvent = 0;
    bool m_keymapChanged = false;
    std::optional<X11Chord> m_chord;
    std::optional<XcbSource> m_source;
};

}
