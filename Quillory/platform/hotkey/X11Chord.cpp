#include "platform/hotkey/X11Chord.h"

#include <algorithm>
#include <array>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>

#include <xkbcommon/xkbcommon-keysyms.h>
#include <xkbcommon/xkbcommon-x11.h>

#include "platform/hotkey/Xcb.h"

namespace quillory {

namespace {

// The name of the E position in every XKB key code table.
constexpr const char* keyName = "AD03";

using Context = std::unique_ptr<xkb_context, decltype(&xkb_context_unref)>;
using Keymap = std::unique_ptr<xkb_keymap, decltype(&xkb_keymap_unref)>;

Keymap currentKeymap(xcb_connection_t* connection)
{
    const Context context(xkb_context_new(XKB_CONTEXT_NO_FLAGS), &xkb_context_unref);
    const auto device = xkb_x11_get_core_keyboard_device_id(connection);
    if (!context || device < 0)
        return {nullptr, &xkb_keymap_unref};
    return {xkb_x11_keymap_new_from_device(context.get(), connection, device, XKB_KEYMAP_COMPILE_NO_FLAGS),
            &xkb_keymap_unref};
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

// Which keys set each of the eight modifiers, shift first.
class ModifierMap {
public:
    ModifierMap(xcb_connection_t* connection, xkb_keymap* keymap)
        : m_keymap(keymap)
    {
        const XcbMemory<xcb_get_modifier_mapping_reply_t> reply(
            xcb_get_modifier_mapping_reply(connection, xcb_get_modifier_mapping(connection), nullptr));
        if (!reply)
            return;
        const auto* key = xcb_get_modifier_mapping_keycodes(reply.get());
        for (auto& row : m_rows) {
            std::copy_if(key, key + reply->keycodes_per_modifier, std::back_inserter(row),
                         [](auto code) { return code != 0; });
            key += reply->keycodes_per_modifier;
        }
    }

    std::uint16_t with(std::initializer_list<xkb_keysym_t> symbols) const
    {
        return select([&](xcb_keycode_t key) { return keyHasSymbol(m_keymap, key, symbols); });
    }

    std::uint16_t used() const
    {
        return select([](xcb_keycode_t) { return true; });
    }

private:
    std::uint16_t select(const std::function<bool(xcb_keycode_t)>& wanted) const
    {
        std::uint16_t mask = 0;
        for (std::size_t i = 0; i < m_rows.size(); ++i)
            if (std::any_of(m_rows[i].begin(), m_rows[i].end(), wanted))
                mask = static_cast<std::uint16_t>(mask | 1U << i);
        return mask;
    }

    xkb_keymap* m_keymap;
    std::array<std::vector<xcb_keycode_t>, 8> m_rows;
};

constexpr std::uint16_t without(unsigned mask, unsigned removed)
{
    return static_cast<std::uint16_t>(mask & ~removed);
}

// Every combination of the bits of `mask`, the empty one last.
std::vector<std::uint16_t> subsets(std::uint16_t mask)
{
    std::vector<std::uint16_t> all;
    for (unsigned subset = mask;; subset = (subset - 1) & mask) {
        all.push_back(static_cast<std::uint16_t>(subset));
        if (subset == 0)
            return all;
    }
}

}

std::optional<X11Chord> X11Chord::find(xcb_connection_t* connection)
{
    const auto keymap = currentKeymap(connection);
    if (!keymap)
        return std::nullopt;
    X11Chord chord;
    const auto key = xkb_keymap_key_by_name(keymap.get(), keyName);
    if (key == XKB_KEYCODE_INVALID || key > 255)
        return std::nullopt;
    chord.key = static_cast<xcb_keycode_t>(key);

    const ModifierMap modifiers(connection, keymap.get());
    constexpr unsigned fixed = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_LOCK | XCB_MOD_MASK_CONTROL;
    const auto alt = modifiers.with({XKB_KEY_Alt_L, XKB_KEY_Alt_R});
    chord.commandModifiers = without(modifiers.with({XKB_KEY_Super_L, XKB_KEY_Super_R}), fixed);
    if (chord.commandModifiers == 0) {
        // Some keymaps call the same key Meta; where Alt is Meta too, it is not that key.
        chord.commandModifiers = without(modifiers.with({XKB_KEY_Meta_L, XKB_KEY_Meta_R}), fixed | alt);
    }
    if (chord.commandModifiers == 0)
        return std::nullopt;
    chord.optionModifiers = without(alt, fixed | chord.commandModifiers);

    const unsigned locks =
        (modifiers.used() & XCB_MOD_MASK_LOCK) | modifiers.with({XKB_KEY_Num_Lock, XKB_KEY_Scroll_Lock});
    const auto ignored =
        without(locks, XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | chord.commandModifiers | chord.optionModifiers);
    for (const auto command : subsets(chord.commandModifiers)) {
        if (command == 0)
            continue;
        for (const auto lock : subsets(ignored))
            chord.states.push_back(static_cast<std::uint16_t>(XCB_MOD_MASK_SHIFT | command | lock));
    }
    return chord;
}

std::uint64_t X11Chord::flags(std::uint16_t state) const
{
    std::uint64_t flags = 0;
    const auto translate = [&](unsigned modifiers, std::uint64_t flag) {
        flags |= (state & modifiers) != 0 ? flag : 0;
    };
    translate(XCB_MOD_MASK_LOCK, EventFlags::capsLock);
    translate(XCB_MOD_MASK_SHIFT, EventFlags::shift);
    translate(XCB_MOD_MASK_CONTROL, EventFlags::control);
    translate(optionModifiers, EventFlags::option);
    translate(commandModifiers, EventFlags::command);
    return flags;
}

}
