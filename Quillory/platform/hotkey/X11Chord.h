#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <xcb/xcb.h>

namespace quillory {

// Where the current keymap of an X server has the hotkey.
struct X11Chord {
    // The key in the E position, whatever the layout writes on it.
    xcb_keycode_t key = 0;
    // Every modifier state that means the chord: one for each combination of locks.
    std::vector<std::uint16_t> states;

    bool operator==(const X11Chord&) const = default;

    // None if the keymap has no such key or no Super modifier, or cannot be read. Makes round trips;
    // the XKB extension must have been set up on the connection.
    static std::optional<X11Chord> find(xcb_connection_t* connection);
};

}
