#include "platform/hotkey/X11Chord.h"

#include <algorithm>
#include <initializer_list>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "platform/hotkey/Xcb.h"

namespace quillory {

namespace {

// The name of the E position in every XKB key code table.
constexpr const char* keyName = "AD03";
constexpr unsigned modifierCount = 8;

using Keymap = std::unique_ptr<xkb_keymap, FreedBy<xkb_keymap_unref>>;

Keymap currentKeymap(xcb_connection_t* connection)
{
    const std::unique_ptr<xkb_context, FreedBy<xkb_context_unref>> context(xkb_context_new(XKB_CONTEXT_NO_FLAGS));
    const auto device = xkb_x11_get_core_keyboard_device_id(connection);
    if (!context || device < 0)
        return nullptr;
    return Keymap(xkb_x11_keymap_new_from_device(context.get(), connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS));
}

bool keyHasSymbol(xkb_keymap* keymap, xkb_keycode_t key, std::initializer_list<xkb_keysym_t> wanted)
{
    for (xkb_layout_index_t layout = 0; layout < xkb_keymap_num_layouts_for_key(keymap, key); ++layout) {
        for (xkb_level_index_t level = 0; level < xkb_keymap_num_levels_for_key(keymap, key, layout); ++level) {
            const xkb_keysym_t* symbols = nullptr;
            const int count = xkb_keymap_key_get_syms_by_level(keymap, key, layout, level, &symbols);
            if (std::find_first_of(symbols, symbols + count, wanted.begin(), wanted.end()) != symbols + count)
                return true;
        }
    }
    return false;
}

}

std::optional<X11Chord> X11Chord::find(xcb_connection_t* connection)
{
    const auto keymap = currentKeymap(connection);
    const XcbMemory<xcb_get_modifier_mapping_reply_t> mapping(
        xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
    if (!keymap || !mapping)
        return std::nullopt;
    const auto key = xkb_keymap_key_by_name(keymap.get(), keyName);
    if (key == XKB_KEYCODE_INVALID || key > 255)
        return std::nullopt;

    const auto modifiersWith = [&](std::initializer_list<xkb_keysym_t> symbols) {
        const auto* keys = xcb_get_modifier_mapping_keycodes(mapping.get());
        unsigned modifiers = 0;
        for (unsigned i = 0; i < modifierCount * mapping->keycodes_per_modifier; ++i)
            if (keyHasSymbol(keymap.get(), keys[i], symbols))
                modifiers |= 1U << i / mapping->keycodes_per_modifier;
        return modifiers;
    };
    constexpr unsigned fixed = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_CONTROL;
    const unsigned alt = modifiersWith({XKB_KEY_Alt_L, XKB_KEY_Alt_R});
    unsigned command = modifiersWith({XKB_KEY_Super_L, XKB_KEY_Super_R}) & ~fixed;
    // Some keymaps call the same key Meta; where Alt is Meta too, it is not that key.
    if (command == 0)
        command = modifiersWith({XKB_KEY_Meta_L, XKB_KEY_Meta_R}) & ~(fixed | alt);
    if (command == 0)
        return std::nullopt;
    const unsigned locks =
        XCB_MOD_MASK_LOCK | (modifiersWith({XKB_KEY_Num_Lock, XKB_KEY_Scroll_Lock}) & ~(fixed | command | alt));

    X11Chord chord {static_cast<xcb_keycode_t>(key), {}};
    // Every combination of these bits but the empty one.
    for (unsigned held = command | locks; held != 0; held = (held - 1) & (command | locks))
        if ((held & command) != 0)
            chord.states.push_back(static_cast<std::uint16_t>(XCB_MOD_MASK_SHIFT | held));
    return chord;
}

}
