#include "platform/hotkey/X11EventTap.h"

#include <iostream>
#include <utility>

// The header names a field "explicit".
#define explicit explicitMaps
#include <xcb/xkb.h>
#undef explicit
#include <xkbcommon/xkbcommon-x11.h>

namespace quillory {

namespace {

// The first event number of the extension, or none without it.
std::optional<std::uint8_t> setUpKeymapExtension(xcb_connection_t* connection)
{
    std::uint8_t firstEvent = 0;
    const bool there = xcb_connection_has_error(connection) == 0
        && xkb_x11_setup_xkb_extension(connection, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                                       XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr, &firstEvent, nullptr)
            != 0;
    return there ? std::optional(firstEvent) : std::nullopt;
}

XcbConnection openDisplay(const std::string& name)
{
    return XcbConnection(xcb_connect(name.empty() ? nullptr : name.c_str(), nullptr));
}

}

X11EventTap::X11EventTap(EventTapCallback callback, void* userData, WillDeliver willDeliver)
    : SessionEventTap(callback, userData)
    , m_willDeliver(std::move(willDeliver))
{
}

std::shared_ptr<X11EventTap> X11EventTap::make(const std::string& displayName, EventTapCallback callback,
                                               void* userData, WillDeliver willDeliver)
{
    std::shared_ptr<X11EventTap> tap(new X11EventTap(callback, userData, std::move(willDeliver)));
    if (!tap->connect(displayName))
        return nullptr;
    tap->m_chord = X11Chord::find(tap->m_connection.get());
    if (!tap->m_chord || !tap->grab(*tap->m_chord))
        return nullptr;
    auto* self = tap.get();
    tap->m_source.emplace(
        tap->m_connection.get(),
        XcbSource::Handlers {[self](const auto& event) { self->handle(event); }, [self] { self->followKeymap(); }});
    return tap;
}

bool X11EventTap::isAvailable(const std::string& displayName)
{
    const auto connection = openDisplay(displayName);
    return setUpKeymapExtension(connection.get()).has_value();
}

bool X11EventTap::isEnabled() const
{
    return SessionEventTap::isEnabled() && xcb_connection_has_error(m_connection.get()) == 0;
}

bool X11EventTap::connect(const std::string& displayName)
{
    m_connection = openDisplay(displayName);
    const auto firstEvent = setUpKeymapExtension(m_connection.get());
    if (!firstEvent)
        return false;
    m_firstKeymapEvent = *firstEvent;
    for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())); screen.rem > 0;
         xcb_screen_next(&screen))
        m_roots.push_back(screen.data->root);
    selectKeymapEvents();
    return true;
}

void X11EventTap::selectKeymapEvents()
{
    auto* connection = m_connection.get();
    constexpr std::uint16_t events =
        XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY | XCB_XKB_EVENT_TYPE_NAMES_NOTIFY;
    constexpr std::uint16_t mapParts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    xcb_xkb_select_events_details_t details {};
    details.affectNewKeyboard = details.newKeyboardDetails = XCB_XKB_NKN_DETAIL_KEYCODES;
    details.affectNames = details.namesDetails = XCB_XKB_NAME_DETAIL_KEY_NAMES;
    xcb_xkb_select_events_aux(connection, XCB_XKB_ID_USE_CORE_KBD, events, 0, 0, mapParts, mapParts, &details);

    // Without it each repeat comes with a release that never was, and would be answered in vain.
    constexpr std::uint32_t flag = XCB_XKB_PER_CLIENT_FLAG_DETECTABLE_AUTO_REPEAT;
    xcb_discard_reply(connection,
                      xcb_xkb_per_client_flags(connection, XCB_XKB_ID_USE_CORE_KBD, flag, flag, 0, 0, 0).sequence);
}

bool X11EventTap::grab(const X11Chord& chord)
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

void X11EventTap::ungrab(const X11Chord& chord)
{
    for (const auto root : m_roots)
        xcb_ungrab_key(m_connection.get(), chord.key, root, XCB_MOD_MASK_ANY);
    xcb_flush(m_connection.get());
}

// Typing on a second keyboard counts as a change as well, so most changes change nothing.
void X11EventTap::followKeymap()
{
    if (!std::exchange(m_keymapChanged, false))
        return;
    const auto chord = X11Chord::find(m_connection.get());
    if (chord == m_chord)
        return;
    if (m_chord)
        ungrab(*m_chord);
    m_chord = chord && grab(*chord) ? chord : std::nullopt;
    if (!m_chord)
        std::cerr << "quillory: the new keymap leaves no free chord for the global hotkey" << std::endl;
}

void X11EventTap::handle(const xcb_generic_event_t& event)
{
    const auto type = static_cast<std::uint8_t>(event.response_type & 0x7f);
    if (type == XCB_KEY_PRESS)
        handleKeyPress(reinterpret_cast<const xcb_key_press_event_t&>(event));
    else if (type == XCB_KEY_RELEASE)
        answer(XCB_ALLOW_ASYNC_KEYBOARD, reinterpret_cast<const xcb_key_release_event_t&>(event).time);
    else if (type == XCB_MAPPING_NOTIFY || type == m_firstKeymapEvent)
        m_keymapChanged = true;
}

// Other keys arrive as well while the hotkey is held down.
void X11EventTap::handleKeyPress(const xcb_key_press_event_t& press)
{
    bool pass = true;
    if (delivers() && m_chord && press.detail == m_chord->key) {
        if (m_willDeliver)
            m_willDeliver(press.time);
        pass = passes(TapEvent {keyCodeE, m_chord->flags(press.state)});
    }
    answer(pass ? XCB_ALLOW_REPLAY_KEYBOARD : XCB_ALLOW_ASYNC_KEYBOARD, press.time);
}

void X11EventTap::answer(std::uint8_t mode, xcb_timestamp_t time)
{
    xcb_allow_events(m_connection.get(), mode, time);
    xcb_flush(m_connection.get());
}

}
