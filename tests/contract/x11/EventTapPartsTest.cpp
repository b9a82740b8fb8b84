#include "adapters/x11/keys/HeldKeys.h"
#include "adapters/x11/keys/KeyChord.h"
#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11KeyCodes.h"
#include "adapters/x11/keys/X11KeyboardMap.h"

#include "platform/EventTap.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

namespace sonvale::adapters::x11 {

namespace {

constexpr int paster = 0;
constexpr int listener = 0;

constexpr std::uint16_t xtest = 5;
constexpr std::uint16_t laptop = 8;
constexpr std::uint16_t external = 9;

constexpr xcb_keycode_t controlKeycode = 37;
constexpr xcb_keycode_t leftShift = 50;
constexpr xcb_keycode_t leftAlt = 64;
constexpr xcb_keycode_t rightAlt = 108;
constexpr xcb_keycode_t leftSuper = 133;
constexpr xcb_keycode_t capsLockKeycode = 66;
constexpr xcb_keycode_t numLock = 77;
constexpr xcb_keycode_t vKeycode = 55;
constexpr xcb_keycode_t minusKey = 20;

X11Keyboards keyboards() {
    X11Keyboards result;
    result.master = 3;
    result.xtest = xtest;
    result.hardware = {laptop, external};
    return result;
}

/// Returns the relevant keys of an American keyboard; the second group is a layout with "v" elsewhere.
X11KeyboardMap keyboardMap(int group = 0) {
    std::array<X11KeyboardMap::Key, 256> keys{};
    keys[controlKeycode] = {1, 1, {XK_Control_L}, XCB_MOD_MASK_CONTROL};
    keys[leftShift] = {1, 1, {XK_Shift_L}, XCB_MOD_MASK_SHIFT};
    keys[leftAlt] = {1, 2, {XK_Alt_L, XK_Meta_L}, XCB_MOD_MASK_1};
    keys[rightAlt] = {1, 1, {XK_ISO_Level3_Shift}, XCB_MOD_MASK_5};
    keys[leftSuper] = {1, 1, {XK_Super_L}, XCB_MOD_MASK_4};
    keys[capsLockKeycode] = {1, 1, {XK_Caps_Lock}, XCB_MOD_MASK_LOCK};
    keys[numLock] = {1, 1, {XK_Num_Lock}, XCB_MOD_MASK_2};
    keys[vKeycode] = {2, 2, {XK_v, XK_V, XK_k, XK_K}, 0};
    keys[60] = {2, 2, {XK_period, XK_greater, XK_v, XK_V}, 0};
    keys[minusKey] = {1, 2, {XK_minus, XK_underscore}, 0};
    return X11KeyboardMap(keys, group);
}

const auto nothingHeld = [](std::uint8_t) { return false; };

constexpr KeyChord paste{XK_v, vKeycode, platform::modifier::control, false};

std::vector<KeyStroke> strokesWith(const KeyChord& chord, const std::vector<xcb_keycode_t>& held,
                                   int group = 0) {
    std::bitset<256> down;
    for (const auto keycode : held)
        down.set(keycode);
    return strokesFor(chord, keyboardMap(group), down);
}

using Strokes = std::vector<KeyStroke>;

} // namespace

TEST(X11KeyCodes, NamesKeysByTheirPlace) {
    EXPECT_EQ(virtualKeyCode(vKeycode), 9);
    EXPECT_EQ(virtualKeyCode(9), 53) << "Escape";
    EXPECT_EQ(virtualKeyCode(65), 49) << "Space";
    EXPECT_EQ(virtualKeyCode(36), 36) << "Return";
    EXPECT_EQ(virtualKeyCode(leftAlt), 58);
    EXPECT_EQ(virtualKeyCode(rightAlt), 61);
    EXPECT_EQ(virtualKeyCode(leftSuper), 55);
    EXPECT_EQ(virtualKeyCode(8), -1);
    EXPECT_EQ(virtualKeyCode(255), -1);
}

TEST(X11KeyCodes, TranslatesEveryKeyBack) {
    for (int keycode = 0; keycode < 256; ++keycode) {
        const auto code = virtualKeyCode(static_cast<xcb_keycode_t>(keycode));
        if (code < 0)
            continue;
        const auto back = keycodesOf(code);
        EXPECT_NE(std::find(back.begin(), back.end(), keycode), back.end()) << keycode;
    }
    EXPECT_EQ(keycodesOf(105), (std::vector<xcb_keycode_t>{191, 107})) << "F13, and Print in its place";
    EXPECT_TRUE(keycodesOf(-1).empty());
}

TEST(HeldKeys, KeepsAFlagUntilBothKeysAreReleased) {
    const auto map = keyboardMap();
    HeldKeys held;
    held.press(laptop, leftAlt);
    held.press(external, leftAlt);
    held.release(laptop, leftAlt, keyboards());
    EXPECT_EQ(held.flags(map), platform::modifier::option);
    held.release(external, leftAlt, keyboards());
    EXPECT_EQ(held.flags(map), 0u);
}

TEST(HeldKeys, KeepsAKeyThatAProgramReleases) {
    const auto map = keyboardMap();
    HeldKeys held;
    held.press(laptop, leftAlt);
    held.release(xtest, leftAlt, keyboards());
    EXPECT_EQ(held.flags(map), platform::modifier::option);

    held.press(xtest, leftAlt);
    held.release(laptop, leftAlt, keyboards());
    EXPECT_EQ(held.flags(map), 0u) << "but the user's release also releases what a program has left pressed";
}

TEST(HeldKeys, ForgetsTheKeysOfARemovedKeyboard) {
    HeldKeys held;
    held.press(external, leftAlt);
    held.press(laptop, leftShift);
    EXPECT_TRUE(held.dropKeyboard(external));
    EXPECT_FALSE(held.dropKeyboard(external));
    EXPECT_EQ(held.flags(keyboardMap()), platform::modifier::shift);
}

TEST(SyntheticKeyLedger, RemovesOnlyItsOwnStrokesInOrder) {
    SyntheticKeyLedger ledger;
    ledger.beginListening();
    ledger.write(&paster, xtest,
                 {{controlKeycode, true}, {vKeycode, true}, {vKeycode, false}, {controlKeycode, false}}, 0);
    EXPECT_FALSE(ledger.remove(laptop, {controlKeycode, true}, 0, nothingHeld)) << "another keyboard";
    EXPECT_FALSE(ledger.remove(xtest, {vKeycode, false}, 0, nothingHeld)) << "out of order";
    EXPECT_TRUE(ledger.remove(xtest, {controlKeycode, true}, 0, nothingHeld));
    EXPECT_FALSE(ledger.remove(xtest, {controlKeycode, true}, 0, nothingHeld))
        << "a second one comes from another program";
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, true}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, false}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {controlKeycode, false}, 0, nothingHeld));
    EXPECT_FALSE(ledger.remove(xtest, {vKeycode, true}, 0, nothingHeld));
}

TEST(SyntheticKeyLedger, AllowsMixedStrokesOfTwoSenders) {
    SyntheticKeyLedger ledger;
    ledger.beginListening();
    ledger.write(&listener, xtest, {{8, true}, {8, false}}, 0);
    ledger.write(&paster, xtest,
                 {{controlKeycode, true}, {vKeycode, true}, {vKeycode, false}, {controlKeycode, false}}, 0);
    EXPECT_TRUE(ledger.remove(xtest, {controlKeycode, true}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {8, true}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, true}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, false}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {8, false}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {controlKeycode, false}, 0, nothingHeld));
    EXPECT_FALSE(ledger.remove(xtest, {controlKeycode, false}, 0, nothingHeld));
}

TEST(SyntheticKeyLedger, SkipsAPressThatTheServerOmits) {
    SyntheticKeyLedger ledger;
    ledger.beginListening();
    const auto controlHeld = [](std::uint8_t keycode) { return keycode == controlKeycode; };
    ledger.write(&paster, xtest,
                 {{controlKeycode, true}, {vKeycode, true}, {vKeycode, false}, {controlKeycode, false}}, 0);
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, true}, 0, controlHeld));
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, false}, 0, controlHeld));
    EXPECT_TRUE(ledger.remove(xtest, {controlKeycode, false}, 0, controlHeld));
}

TEST(SyntheticKeyLedger, KeepsTheUsersReleaseOfAHeldModifierBeforeItsOwnStrokes) {
    SyntheticKeyLedger ledger;
    ledger.beginListening();
    ledger.write(&paster, xtest, {{controlKeycode, true}, {leftAlt, false}, {vKeycode, true}}, 0);
    const auto altHeld = [](std::uint8_t keycode) { return keycode == leftAlt; };
    EXPECT_FALSE(ledger.remove(xtest, {leftAlt, false}, 0, altHeld));
    EXPECT_TRUE(ledger.remove(xtest, {controlKeycode, true}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {leftAlt, false}, 0, nothingHeld));
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, true}, 0, nothingHeld));
}

TEST(SyntheticKeyLedger, ForgetsStrokesThatAreNeverReported) {
    SyntheticKeyLedger ledger;
    ledger.write(&paster, xtest, {{vKeycode, true}}, 0);
    ledger.beginListening();
    EXPECT_FALSE(ledger.remove(xtest, {vKeycode, true}, 0, nothingHeld)) << "there was no listener";
    ledger.write(&paster, xtest, {{vKeycode, false}}, 0);
    ledger.write(&paster, xtest, {{vKeycode, true}}, 10);
    EXPECT_TRUE(ledger.remove(xtest, {vKeycode, true}, 10, nothingHeld));
    ledger.write(&paster, xtest, {{vKeycode, true}}, 10);
    ledger.endListening();
    EXPECT_FALSE(ledger.remove(xtest, {vKeycode, true}, 10, nothingHeld));
}

TEST(KeyChord, HoldsItsModifiersAroundTheKey) {
    EXPECT_EQ(
        strokesWith(paste, {}),
        (Strokes{{controlKeycode, true}, {vKeycode, true}, {vKeycode, false}, {controlKeycode, false}}));
}

TEST(KeyChord, ReleasesOtherModifiersAfterPressingItsOwnAndLeavesThemReleased) {
    EXPECT_EQ(strokesWith(paste, {leftAlt}), (Strokes{{controlKeycode, true},
                                                      {leftAlt, false},
                                                      {vKeycode, true},
                                                      {vKeycode, false},
                                                      {controlKeycode, false}}));
    EXPECT_EQ(strokesWith(paste, {leftShift, rightAlt, leftSuper}).size(), 7u);
}

TEST(KeyChord, UsesHeldModifiersAndLeavesThemHeld) {
    EXPECT_EQ(strokesWith(paste, {controlKeycode}), (Strokes{{vKeycode, true}, {vKeycode, false}}));
    const KeyChord terminalPaste{XK_v, vKeycode, platform::modifier::control | platform::modifier::shift,
                                 false};
    EXPECT_EQ(
        strokesWith(terminalPaste, {leftShift}),
        (Strokes{{controlKeycode, true}, {vKeycode, true}, {vKeycode, false}, {controlKeycode, false}}));
}

TEST(KeyChord, PressesAHeldKeyAgain) {
    EXPECT_EQ(strokesWith(paste, {controlKeycode, vKeycode}),
              (Strokes{{vKeycode, false}, {vKeycode, true}, {vKeycode, false}}));
}

TEST(KeyChord, DoesNotChangeLocks) {
    EXPECT_EQ(strokesWith(paste, {capsLockKeycode, numLock}).size(), 4u);
}

TEST(KeyChord, FindsTheSymbolInTheActiveLayout) {
    EXPECT_EQ(strokesWith(paste, {controlKeycode}, 1), (Strokes{{60, true}, {60, false}}));
    const KeyChord unknown{XK_Greek_alpha, 99, platform::modifier::control, false};
    EXPECT_EQ(strokesWith(unknown, {controlKeycode}), (Strokes{{99, true}, {99, false}}));
    const KeyChord underscore{XK_underscore, minusKey, platform::modifier::control, true};
    EXPECT_EQ(strokesWith(underscore, {controlKeycode}),
              (Strokes{{leftShift, true}, {minusKey, true}, {minusKey, false}, {leftShift, false}}));
}

TEST(X11KeyboardMap, ReturnsTheServersModifiersAndLocks) {
    const auto map = keyboardMap();
    EXPECT_EQ(map.serverModifiers(platform::modifier::option | platform::modifier::shift),
              XCB_MOD_MASK_1 | XCB_MOD_MASK_SHIFT);
    EXPECT_EQ(map.serverModifiers(platform::modifier::command), XCB_MOD_MASK_4);
    EXPECT_EQ(map.lockCombinations(), (std::vector<std::uint8_t>{0, 2, 16, 18}));
    EXPECT_EQ(X11KeyboardMap().serverModifiers(platform::modifier::option), std::nullopt);
    EXPECT_EQ(map.unusedKeycode(), 8);
    EXPECT_EQ(map.modifierOf(rightAlt), 0u) << "AltGr types symbols";
    EXPECT_TRUE(map.isStateKey(rightAlt));
}

} // namespace sonvale::adapters::x11
