#include "platform/linux/X11SyntheticInput.h"

#include "platform/EventTap.h"
#include "platform/linux/KeyChord.h"
#include "platform/linux/X11KeySender.h"
#include "platform/linux/X11KeyboardMap.h"

#include <X11/keysym.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace sonvale::platform::linux {

namespace {

constexpr double longestPress = 0.2;

constexpr KeyChord controlV{XK_v, 55, modifier::control, false};
constexpr KeyChord controlShiftV{XK_v, 55, modifier::control | modifier::shift, false};
constexpr KeyChord shiftInsert{XK_Insert, 118, modifier::shift, false};
constexpr KeyChord controlZ{XK_z, 52, modifier::control, false};
constexpr KeyChord controlUnderscore{XK_underscore, 20, modifier::control, true};

/// The class of WM_CLASS; empty when the window has none.
std::string windowClass(X11Connection& connection, xcb_window_t window, double deadline) {
    const auto reply = connection.reply<xcb_get_property_reply_t>(
        xcb_get_property(connection.raw(), 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256), deadline);
    if (!reply || reply->format != 8)
        return {};
    // Two strings, each with its end: the instance and the class.
    std::string_view names(static_cast<const char*>(xcb_get_property_value(reply.get())),
                           static_cast<std::size_t>(xcb_get_property_value_length(reply.get())));
    names.remove_prefix(std::min(names.find('\0'), names.size()));
    if (!names.empty())
        names.remove_prefix(1);
    return std::string(names.substr(0, names.find('\0')));
}

/// The window that gets the keys: the one with the focus, or the one under the pointer where nobody manages
/// it.
xcb_window_t windowWithKeyboard(X11Connection& connection, double deadline) {
    const auto focus =
        connection.reply<xcb_get_input_focus_reply_t>(xcb_get_input_focus(connection.raw()), deadline);
    if (!focus || focus->focus == XCB_INPUT_FOCUS_NONE)
        return XCB_NONE;
    if (focus->focus != XCB_INPUT_FOCUS_POINTER_ROOT && focus->focus != connection.root())
        return focus->focus;
    const auto pointer = connection.reply<xcb_query_pointer_reply_t>(
        xcb_query_pointer(connection.raw(), connection.root()), deadline);
    return pointer ? pointer->child : XCB_NONE;
}

std::bitset<256> keysDown(X11Connection& connection, double deadline) {
    std::bitset<256> result;
    const auto reply =
        connection.reply<xcb_query_keymap_reply_t>(xcb_query_keymap(connection.raw()), deadline);
    for (unsigned int code = 0; reply && code < result.size(); ++code)
        result.set(code, reply->keys[code / 8] & (1u << (code % 8)));
    return result;
}

} // namespace

X11SyntheticInput::X11SyntheticInput(const runtime::Clock& clock, std::shared_ptr<SyntheticKeyLedger> ledger,
                                     std::function<void()> offerPrimary, const std::string& displayName)
    : ledger_(std::move(ledger))
    , offerPrimary_(std::move(offerPrimary))
    , connection_(X11Connection::open(displayName, clock)) {}

void X11SyntheticInput::pressPaste() {
    if (!isUsable())
        return;
    const double deadline = beginPress();
    switch (customOfFocusedProgram(deadline)) {
    case PasteCustom::controlV:
        press(controlV, deadline);
        break;
    case PasteCustom::controlShiftV:
        press(controlShiftV, deadline);
        break;
    case PasteCustom::shiftInsertOfPrimary:
        if (offerPrimary_)
            offerPrimary_();
        press(shiftInsert, deadline);
        break;
    }
}

void X11SyntheticInput::pressUndo() {
    if (!isUsable())
        return;
    const double deadline = beginPress();
    const bool isTerminal = customOfFocusedProgram(deadline) != PasteCustom::controlV;
    press(isTerminal ? controlUnderscore : controlZ, deadline);
}

double X11SyntheticInput::beginPress() {
    // Nothing on this connection asks for events; what comes anyway (errors) must not pile up.
    while (auto* event = xcb_poll_for_event(connection_->raw()))
        std::free(event);
    return connection_->clock().now() + longestPress;
}

PasteCustom X11SyntheticInput::customOfFocusedProgram(double deadline) {
    // The focus is often on a window inside the program's own, the class always on that.
    constexpr int deepest = 16;
    xcb_window_t window = windowWithKeyboard(*connection_, deadline);
    for (int depth = 0; depth < deepest && window != XCB_NONE && window != connection_->root(); ++depth) {
        if (const auto name = windowClass(*connection_, window, deadline); !name.empty())
            return pasteCustomOf(name);
        const auto tree =
            connection_->reply<xcb_query_tree_reply_t>(xcb_query_tree(connection_->raw(), window), deadline);
        window = tree ? tree->parent : XCB_NONE;
    }
    return PasteCustom::controlV;
}

void X11SyntheticInput::press(const KeyChord& chord, double deadline) {
    const auto keyboards = queryKeyboards(*connection_, deadline);
    const auto map = X11KeyboardMap::fetch(*connection_, deadline);
    // A server that does not answer now would get the keys later, at a moment when nobody expects them.
    if (!keyboards || !map)
        return;
    const auto down = keysDown(*connection_, deadline);
    const int group = currentGroup(*connection_, deadline);
    X11KeySender(*connection_, *ledger_)
        .send(*keyboards, keyboards->xtest, strokesFor(chord, *map, group, down));
    rouseUserKeyboard(*keyboards, *map);
    connection_->synchronize(deadline);
}

void X11SyntheticInput::rouseUserKeyboard(const X11Keyboards& keyboards, const X11KeyboardMap& map) {
    // The first event of another keyboard makes window managers grab their shortcuts anew. It had better be
    // this one, now, than the user's next key: the listener then has time to win its own back.
    auto device = ledger_->userKeyboard();
    if (device == keyboards.xtest)
        return;
    if (!keyboards.isHardware(device))
        device = keyboards.hardware.empty() ? 0 : keyboards.hardware.front();
    if (const auto unused = map.unusedKeycode())
        X11KeySender(*connection_, *ledger_).send(keyboards, device, {{*unused, false}});
}

} // namespace sonvale::platform::linux
