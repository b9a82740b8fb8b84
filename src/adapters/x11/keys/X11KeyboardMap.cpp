#include "adapters/x11/keys/X11KeyboardMap.h"

#include "adapters/x11/keys/X11KeyCodes.h"
#include "adapters/x11/keys/X11Xkb.h"

#include "platform/EventTap.h"
#include "platform/KeyCodes.h"

#include <X11/keysym.h>

#include <algorithm>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

constexpr int minKeycode = 8; // given by the protocol
constexpr int maxKeycode = 255;

std::uint64_t flagOf(xcb_keysym_t keysym) {
    switch (keysym) {
    case XK_Shift_L:
    case XK_Shift_R:
        return platform::modifier::shift;
    case XK_Control_L:
    case XK_Control_R:
        return platform::modifier::control;
    case XK_Alt_L:
    case XK_Alt_R:
    case XK_Meta_L:
    case XK_Meta_R:
        return platform::modifier::option;
    case XK_Super_L:
    case XK_Super_R:
        return platform::modifier::command;
    default:
        return 0;
    }
}

bool isLock(xcb_keysym_t keysym) {
    return keysym == XK_Caps_Lock || keysym == XK_Shift_Lock || keysym == XK_ISO_Lock ||
           keysym == XK_ISO_Level3_Lock || keysym == XK_ISO_Level5_Lock;
}

} // namespace

X11KeyboardMap::Request X11KeyboardMap::request(X11Connection& connection) {
    constexpr std::uint16_t parts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    const auto map = xcb_xkb_get_map(connection.raw(), XCB_XKB_ID_USE_CORE_KBD, parts, 0, 0, 0, 0, 0, 0, 0, 0,
                                     0, 0, 0, 0, 0, 0, 0, 0);
    const auto state = xcb_xkb_get_state(connection.raw(), XCB_XKB_ID_USE_CORE_KBD);
    return {map.sequence, state.sequence};
}

std::optional<X11KeyboardMap> X11KeyboardMap::receive(X11Connection& connection, Request request,
                                                      double deadline) {
    const auto reply = connection.reply<xcb_xkb_get_map_reply_t>(request.map, deadline);
    const auto state = connection.reply<xcb_xkb_get_state_reply_t>(request.state, deadline);
    if (!reply || !state)
        return std::nullopt;
    xcb_xkb_get_map_map_t map{};
    xcb_xkb_get_map_map_unpack(xcb_xkb_get_map_map(reply.get()), reply->nTypes, reply->nKeySyms,
                               reply->nKeyActions, reply->totalActions, reply->totalKeyBehaviors,
                               reply->virtualMods, reply->totalKeyExplicit, reply->totalModMapKeys,
                               reply->totalVModMapKeys, reply->present, &map);

    std::array<Key, 256> keys{};
    auto symbols = xcb_xkb_get_map_map_syms_rtrn_iterator(reply.get(), &map);
    for (int keycode = reply->firstKeySym; symbols.rem && keycode <= maxKeycode; ++keycode) {
        auto& key = keys[static_cast<std::size_t>(keycode)];
        key.groups = symbols.data->groupInfo & 0x0f; // the rest of the byte concerns groups out of range
        key.levels = symbols.data->width;
        const auto* first = xcb_xkb_key_sym_map_syms(symbols.data);
        key.keysyms.assign(first, first + xcb_xkb_key_sym_map_syms_length(symbols.data));
        xcb_xkb_key_sym_map_next(&symbols);
    }
    auto bits = xcb_xkb_get_map_map_modmap_rtrn_iterator(reply.get(), &map);
    for (; bits.rem; xcb_xkb_key_mod_map_next(&bits))
        keys[bits.data->keycode].modifierBits = bits.data->mods;
    return X11KeyboardMap(std::move(keys), state->group);
}

xcb_keysym_t X11KeyboardMap::keysymAt(const Key& key, int group, int level) const {
    if (key.groups == 0 || level >= key.levels)
        return XCB_NO_SYMBOL;
    // Keys with fewer groups than the keyboard repeat their groups.
    const auto index = static_cast<std::size_t>((group % key.groups) * key.levels + level);
    return index < key.keysyms.size() ? key.keysyms[index] : XCB_NO_SYMBOL;
}

xcb_keysym_t X11KeyboardMap::firstKeysym(xcb_keycode_t keycode) const {
    return keysymAt(keys_[keycode], 0, 0);
}

std::uint64_t X11KeyboardMap::modifierOf(xcb_keycode_t keycode) const {
    return flagOf(firstKeysym(keycode));
}

bool X11KeyboardMap::isStateKey(xcb_keycode_t keycode) const {
    const auto keysym = firstKeysym(keycode);
    return (keysym >= XK_Shift_L && keysym <= XK_Hyper_R) || keysym == XK_Mode_switch ||
           (keysym >= XK_ISO_Lock && keysym <= XK_ISO_Level5_Lock);
}

int X11KeyboardMap::virtualKeyCodeOf(xcb_keycode_t keycode) const {
    if (firstKeysym(keycode) == XK_Escape)
        return platform::key_code::escape;
    const int codeOfPlace = virtualKeyCode(keycode);
    return codeOfPlace == platform::key_code::escape ? -1 : codeOfPlace;
}

std::vector<xcb_keycode_t> X11KeyboardMap::keycodesOf(int virtualKeyCode) const {
    if (virtualKeyCode != platform::key_code::escape) {
        auto codeOfPlace = x11::keycodesOf(virtualKeyCode);
        std::erase_if(codeOfPlace, [&](xcb_keycode_t keycode) { return firstKeysym(keycode) == XK_Escape; });
        return codeOfPlace;
    }
    std::vector<xcb_keycode_t> result;
    for (int keycode = minKeycode; keycode <= maxKeycode; ++keycode) {
        if (firstKeysym(static_cast<xcb_keycode_t>(keycode)) == XK_Escape)
            result.push_back(static_cast<xcb_keycode_t>(keycode));
    }
    return result;
}

bool X11KeyboardMap::isHeldModifier(xcb_keycode_t keycode) const {
    return isStateKey(keycode) && !isLock(firstKeysym(keycode));
}

std::optional<std::uint8_t> X11KeyboardMap::serverModifiers(std::uint64_t flags) const {
    std::uint8_t result = 0;
    for (const auto flag : {platform::modifier::shift, platform::modifier::control,
                            platform::modifier::option, platform::modifier::command}) {
        if (!(flags & flag))
            continue;
        const auto key = std::find_if(keys_.begin(), keys_.end(), [&](const Key& each) {
            return each.modifierBits && flagOf(keysymAt(each, 0, 0)) == flag;
        });
        if (key == keys_.end())
            return std::nullopt;
        result |= key->modifierBits;
    }
    return result;
}

std::vector<std::uint8_t> X11KeyboardMap::lockCombinations() const {
    std::uint8_t numLock = 0;
    for (const auto& key : keys_) {
        if (keysymAt(key, 0, 0) == XK_Num_Lock)
            numLock |= key.modifierBits;
    }
    constexpr std::uint8_t capsLock = XCB_MOD_MASK_LOCK;
    if (!numLock)
        return {0, capsLock};
    return {0, capsLock, numLock, static_cast<std::uint8_t>(capsLock | numLock)};
}

std::optional<X11KeyboardMap::Position> X11KeyboardMap::findIn(xcb_keysym_t keysym, int group) const {
    for (const int level : {0, 1}) {
        for (int keycode = minKeycode; keycode <= maxKeycode; ++keycode) {
            if (keysymAt(keys_[static_cast<std::size_t>(keycode)], group, level) == keysym)
                return Position{static_cast<xcb_keycode_t>(keycode), level == 1};
        }
    }
    return std::nullopt;
}

std::optional<X11KeyboardMap::Position> X11KeyboardMap::find(xcb_keysym_t keysym) const {
    if (const auto position = findIn(keysym, group_))
        return position;
    // With an active Cyrillic or Greek layout, programs look up the shortcut's Latin letter in the others.
    for (int other = 0; other < 4; ++other) {
        if (const auto position = findIn(keysym, other))
            return position;
    }
    return std::nullopt;
}

bool X11KeyboardMap::isUnused(int keycode) const {
    const auto& key = keys_[static_cast<std::size_t>(keycode)];
    const bool isSilent = std::all_of(key.keysyms.begin(), key.keysyms.end(),
                                      [](xcb_keysym_t keysym) { return keysym == XCB_NO_SYMBOL; });
    return isSilent && !key.modifierBits;
}

std::optional<xcb_keycode_t> X11KeyboardMap::unusedKeycode() const {
    for (int keycode = minKeycode; keycode <= maxKeycode; ++keycode) {
        if (isUnused(keycode))
            return static_cast<xcb_keycode_t>(keycode);
    }
    return std::nullopt;
}

std::optional<xcb_keycode_t> X11KeyboardMap::markerKeycode() const {
    for (int keycode = maxKeycode; keycode >= minKeycode; --keycode) {
        if (isUnused(keycode))
            return static_cast<xcb_keycode_t>(keycode);
    }
    return std::nullopt;
}

void selectKeyboardChanges(X11Connection& connection) {
    constexpr std::uint16_t events = XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
    constexpr std::uint16_t parts = XCB_XKB_MAP_PART_KEY_SYMS | XCB_XKB_MAP_PART_MODIFIER_MAP;
    xcb_xkb_select_events(connection.raw(), XCB_XKB_ID_USE_CORE_KBD, events, 0, events, parts, parts,
                          nullptr);
}

bool isKeyboardChange(const X11KeyboardExtensions& extensions, const xcb_generic_event_t& event) {
    const auto type = event.response_type & 0x7f;
    if (type == XCB_MAPPING_NOTIFY)
        return true;
    if (type != extensions.xkbFirstEvent)
        return false;
    // All events of XKB have one number; their kind is in the second byte.
    const auto kind = reinterpret_cast<const std::uint8_t*>(&event)[1];
    return kind == XCB_XKB_NEW_KEYBOARD_NOTIFY || kind == XCB_XKB_MAP_NOTIFY;
}

} // namespace sonvale::adapters::x11
