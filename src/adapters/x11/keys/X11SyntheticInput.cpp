#include "adapters/x11/keys/X11SyntheticInput.h"

#include "adapters/freedesktop/TerminalPrograms.h"
#include "adapters/x11/X11Windows.h"
#include "adapters/x11/keys/KeyChord.h"
#include "adapters/x11/keys/X11KeySender.h"
#include "adapters/x11/keys/X11KeyboardMap.h"

#include "base/Log.h"
#include "platform/EventTap.h"

#include <X11/keysym.h>

#include <algorithm>
#include <bitset>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

/// A busy server can need more than a few milliseconds, and a dropped press loses the user's text.
constexpr double maxPressSeconds = 1;

constexpr KeyChord controlV{XK_v, 55, platform::modifier::control, false};
constexpr KeyChord controlShiftV{XK_v, 55, platform::modifier::control | platform::modifier::shift, false};
constexpr KeyChord shiftInsert{XK_Insert, 118, platform::modifier::shift, false};
constexpr KeyChord controlInsert{XK_Insert, 118, platform::modifier::control, false};
constexpr KeyChord controlC{XK_c, 54, platform::modifier::control, false};
constexpr KeyChord controlShiftC{XK_c, 54, platform::modifier::control | platform::modifier::shift, false};
constexpr KeyChord controlZ{XK_z, 52, platform::modifier::control, false};
constexpr KeyChord controlUnderscore{XK_underscore, 20, platform::modifier::control, true};

} // namespace

X11SyntheticInput::X11SyntheticInput(const runtime::Clock& clock, std::shared_ptr<SyntheticKeyLedger> ledger,
                                     std::function<void()> offerPrimary, const std::string& displayName)
    : ledger_(std::move(ledger))
    , offerPrimary_(std::move(offerPrimary))
    , connection_(displayName, clock)
    , extensions_(useKeyboardExtensions(connection_)) {}

struct X11SyntheticInput::Situation {
    X11Keyboards keyboards;
    X11KeyboardMap map;
    std::bitset<256> down;
    xcb_window_t window = XCB_WINDOW_NONE; ///< the window that gets the keys
    std::string windowClass;
    double deadline = 0; ///< for the press and everything that it needs
};

void X11SyntheticInput::pressPaste() {
    auto situation = readSituation();
    if (!situation)
        return;
    const auto style = freedesktop::keyStyleOf(situation->windowClass);
    const bool hasLetter = situation->map.find(XK_v).has_value();
    // Without the letter, Shift-Insert works everywhere; it pastes the clipboard or PRIMARY.
    const bool isPrimary = style == freedesktop::KeyStyle::xterm || style == freedesktop::KeyStyle::gvim ||
                           (style == freedesktop::KeyStyle::terminal && !hasLetter);
    if (isPrimary && offerPrimary_) {
        const auto& clock = connection_.clock();
        const double before = clock.now();
        offerPrimary_();
        situation->deadline += clock.now() - before;
    }
    if (isPrimary || style == freedesktop::KeyStyle::emacs || !hasLetter)
        press(shiftInsert, *situation);
    else
        press(style == freedesktop::KeyStyle::terminal ? controlShiftV : controlV, *situation);
}

void X11SyntheticInput::pressCopy() {
    const auto situation = readSituation();
    if (!situation)
        return;
    const auto style = freedesktop::keyStyleOf(situation->windowClass);
    const bool isTerminal = style == freedesktop::KeyStyle::terminal;
    const bool canCopy = isTerminal ? hasMarkedText(*situation) : style == freedesktop::KeyStyle::ordinary;
    if (!canCopy)
        return;
    if (!situation->map.find(XK_c))
        press(controlInsert, *situation);
    else
        press(isTerminal ? controlShiftC : controlC, *situation);
}

void X11SyntheticInput::pressUndo() {
    const auto situation = readSituation();
    if (!situation)
        return;
    switch (freedesktop::keyStyleOf(situation->windowClass)) {
    case freedesktop::KeyStyle::ordinary:
        press(controlZ, *situation);
        break;
    case freedesktop::KeyStyle::terminal:
    case freedesktop::KeyStyle::xterm:
    case freedesktop::KeyStyle::emacs:
        press(controlUnderscore, *situation);
        break;
    case freedesktop::KeyStyle::gvim:
        // Its undo of insert mode also undoes what the user typed before.
        break;
    }
}

std::optional<X11SyntheticInput::Situation> X11SyntheticInput::readSituation() {
    if (!isUsable())
        return std::nullopt;
    const double deadline = connection_.deadlineIn(maxPressSeconds);
    // No events are selected on this connection. Errors arrive anyway and must not pile up.
    while (connection_.takeEvent()) {
    }

    // All requests are sent at once: on a busy machine each round trip costs milliseconds.
    auto* raw = connection_.raw();
    const auto keyboardsRequest = requestKeyboards(connection_);
    const auto mapRequest = X11KeyboardMap::request(connection_);
    const auto keysRequest = xcb_query_keymap(raw);
    const auto focusRequest = xcb_get_input_focus(raw);
    const auto pointerRequest = xcb_query_pointer(raw, connection_.root());
    auto keyboards = receiveKeyboards(connection_, keyboardsRequest, deadline);
    auto map = X11KeyboardMap::receive(connection_, mapRequest, deadline);
    const auto keys = connection_.reply<xcb_query_keymap_reply_t>(keysRequest, deadline);
    const auto focus = connection_.reply<xcb_get_input_focus_reply_t>(focusRequest, deadline);
    const auto pointer = connection_.reply<xcb_query_pointer_reply_t>(pointerRequest, deadline);
    // A server that does not answer now would press the keys later, at an unexpected moment.
    if (!keyboards || !map || !keys || !focus || !pointer) {
        base::Logger("SyntheticInput").error("The X server does not answer: no key was pressed");
        return std::nullopt;
    }

    Situation situation{
        std::move(*keyboards), std::move(*map), keysDownIn(*keys), XCB_WINDOW_NONE, {}, deadline};
    // If no window has the focus and there is no window manager, the window under the pointer gets the keys.
    const bool hasWindow = focus->focus > XCB_INPUT_FOCUS_POINTER_ROOT && focus->focus != connection_.root();
    situation.window = hasWindow ? focus->focus : pointer->child;
    situation.windowClass = classOf(situation.window, deadline);
    return situation;
}

std::string X11SyntheticInput::classOf(xcb_window_t window, double deadline) {
    // The focused window is often inside the program's main window; only that one has the class.
    constexpr int maxDepth = 16;
    for (int depth = 0; depth < maxDepth && window != XCB_NONE && window != connection_.root(); ++depth) {
        const auto treeRequest = xcb_query_tree(connection_.raw(), window);
        auto name = windowClassOf(connection_, window, deadline).name;
        const auto tree = connection_.reply<xcb_query_tree_reply_t>(treeRequest, deadline);
        if (!name.empty())
            return name;
        window = tree ? tree->parent : XCB_NONE;
    }
    return {};
}

bool X11SyntheticInput::hasMarkedText(const Situation& situation) {
    const auto owner = connection_.selectionOwner(XCB_ATOM_PRIMARY, situation.deadline);
    return owner && isSameClient(connection_, *owner, situation.window);
}

void X11SyntheticInput::press(const KeyChord& chord, const Situation& situation) {
    auto strokes = strokesFor(chord, situation.map, situation.down);
    // The listener may not have read yet what other programs typed through XTEST before these strokes, and
    // would take the same keys for the program's own. No stroke before this release can be the program's. The
    // server reports the release and sends it to no window, because the key is not down.
    if (const auto marker = situation.map.markerKeycode())
        strokes.insert(strokes.begin(), {*marker, false});
    X11KeySender(connection_, *extensions_, *ledger_)
        .send(situation.keyboards, situation.keyboards.xtest, strokes);
    switchToUserKeyboard(situation);
    connection_.synchronize(situation.deadline);
}

void X11SyntheticInput::switchToUserKeyboard(const Situation& situation) {
    // At the first event of another keyboard, window managers grab their shortcuts again. This stroke causes
    // it now instead of at the user's next key, so that the listener has time to restore its own grabs.
    const auto& keyboards = situation.keyboards;
    auto device = ledger_->userKeyboard();
    if (device == keyboards.xtest)
        return;
    if (!keyboards.isHardware(device))
        device = keyboards.hardware.empty() ? 0 : keyboards.hardware.front();
    if (const auto unused = situation.map.unusedKeycode())
        X11KeySender(connection_, *extensions_, *ledger_).send(keyboards, device, {{*unused, false}});
}

} // namespace sonvale::adapters::x11
