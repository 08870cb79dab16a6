#include "platform/hotkey/X11KeyGrab.h"

#include <iostream>
#include <string_view>
#include <utility>

// The header names a field "explicit"; it has no other way to be read as C++.
#ifdef __clang__
#pragma clang diagnostic ignored "-Wkeyword-macro"
#endif
#define explicit explicitMaps
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>

namespace quillory {

std::unique_ptr<X11KeyGrab> X11KeyGrab::make(const std::string& displayName)
{
    std::unique_ptr<X11KeyGrab> self(new X11KeyGrab);
    if (!self->connect(displayName))
        return nullptr;
    self->m_chord = X11Chord::find(self->m_connection.get());
    return self->m_chord && self->grab(*self->m_chord) ? std::move(self) : nullptr;
}

bool X11KeyGrab::isAvailable(const std::string& displayName)
{
    return X11KeyGrab().connect(displayName);
}

bool X11KeyGrab::connect(const std::string& displayName)
{
    m_connection.reset(xcb_connect(displayName.c_str(), nullptr));
    auto* connection = m_connection.get();
    if (!isConnected()
        || xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                       XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &m_firstKeymapEvent,
                                       nullptr)
            == 0)
        return false;
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(connection)); screen.rem > 0; xcb_screen_next(&screen))
        m_roots.push_back(screen.data->root);
    selectKeymapEvents();
    constexpr std::string_view activeWindow = "_NET_ACTIVE_WINDOW";
    const auto request = xcb_intern_atom(connection, 0, activeWindow.size(), activeWindow.data());
    const XcbMemory<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, request, nullptr));
    if (reply)
        m_activeWindow = reply->atom;
    return true;
}

void X11KeyGrab::selectKeymapEvents()
{
    auto* connection = m_connection.get();
    constexpr std::uint16_t events =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_NAMES_NOTIFY;
    constexpr std::uint16_t mapParts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    xcb_xkb_select_events_details_t details {};
    details.affectNewKeyboard = details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.affectNames = details.namesDetails = XCB_XKB_NAME_DETAIL_KEY_NAMES;
    xcb_xkb_select_events_aux(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, 0, mapParts, mapParts, &details);
}

bool X11KeyGrab::grab(const X11Chord& chord)
{
    auto* connection = m_connection.get();
    std::vector<xcb_void_cookie_t> requests;
    for (const auto root : m_roots) {
        for (const auto state : chord.states) {
            requests.push_back(
                xcb_grab_key_checked(connection, 0, root, state, chord.key, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_SYNC));
        }
    }
    bool granted = true;
    for (const auto request : requests) {
        const XcbMemory<xcb_generic_error_t> error(xcb_request_check(connection, request));
        granted = granted && !error;
    }
    if (!granted)
        ungrab(chord);
    return granted && xcb_connection_has_error(connection) == 0;
}

void X11KeyGrab::ungrab(const X11Chord& chord)
{
    for (const auto root : m_roots)
        xcb_ungrab_key(m_connection.get(), chord.key, root, XCB_MOD_MASK_ANY);
    xcb_flush(m_connection.get());
}

std::optional<xcb_timestamp_t> X11KeyGrab::nextPress()
{
    do {
        while (const XcbMemory<xcb_generic_event_t> event {xcb_poll_for_event(m_connection.get())}) {
            const auto type = static_cast<std::uint8_t>(event->response_type & 0x7f);
            if (type == XCB_KEY_PRESS) {
                const auto& press = reinterpret_cast<const xcb_key_press_event_t&>(*event);
                if (m_chord && press.detail == m_chord->key)
                    return press.time;
                answer(press.time, Answer::pass);
            } else if (type == XCB_MAPPING_NOTIFY || type == m_firstKeymapEvent) {
                m_keymapChanged = true;
            } else if (type == XCB_PROPERTY_NOTIFY) {
                const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
                m_activeWindowChanged = m_activeWindowChanged || change.atom == m_activeWindow;
            }
        }
        if (!std::exchange(m_keymapChanged, false))
            return std::nullopt;
        // Presses that come while it waits for replies are read along with them.
        followKeymap();
    } while (true);
}

// Both answers end the grab that the press began. A window that gets the focus while a grab lasts is not
// told so before its end, and the user may hold the key for long.
void X11KeyGrab::answer(xcb_timestamp_t press, Answer answer)
{
    auto* connection = m_connection.get();
    if (answer == Answer::swallow)
        xcb_ungrab_keyboard(connection, press);
    else
        xcb_allow_events(connection, XCB_ALLOW_REPLAY_KEYBOARD, press);
    xcb_flush(connection);
}

void X11KeyGrab::watchActiveWindow(bool watch)
{
    const std::uint32_t events = watch ? XCB_EVENT_MASK_PROPERTY_CHANGE : XCB_EVENT_MASK_NO_EVENT;
    for (const auto root : m_roots)
        xcb_change_window_attributes(m_connection.get(), root, XCB_CW_EVENT_MASK, &events);
    xcb_flush(m_connection.get());
    if (watch)
        m_activeWindowChanged = false;
}

// Typing on a second keyboard counts as a change as well, so most changes change nothing.
void X11KeyGrab::followKeymap()
{
    const auto chord = X11Chord::find(m_connection.get());
    if (chord == m_chord)
        return;
    if (m_chord)
        ungrab(*m_chord);
    m_chord = chord && grab(*chord) ? chord : std::nullopt;
    if (!m_chord)
        std::cerr << "quillory: the new keymap leaves no free chord for the global hotkey" << std::endl;
}

}
