#include "adapters/x11/keys/X11KeyListener.h"

#include <xcb/xinput.h>

#include <limits>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

constexpr double replySeconds = 1;

} // namespace

std::unique_ptr<X11KeyListener> X11KeyListener::open(const std::string& displayName,
                                                     const runtime::Clock& clock, SyntheticKeyLedger& ledger,
                                                     platform::EventTap::Callback callback,
                                                     std::function<void(platform::KeyCombination)> onTaken) {
    auto connection = std::make_unique<X11Connection>(displayName, clock);
    const auto extensions = useKeyboardExtensions(*connection);
    if (!extensions)
        return nullptr;
    const double deadline = clock.now() + replySeconds;
    auto keyboards = receiveKeyboards(*connection, requestKeyboards(*connection), deadline);
    auto map = X11KeyboardMap::receive(*connection, X11KeyboardMap::request(*connection), deadline);
    if (!keyboards || !map)
        return nullptr;
    std::unique_ptr<X11KeyListener> listener(
        new X11KeyListener(std::move(connection), *extensions, std::move(*keyboards), std::move(*map), ledger,
                           std::move(callback), std::move(onTaken)));
    ledger.beginListening();
    listener->selectEvents();
    listener->readHeldKeys();
    if (!listener->connection_->synchronize(deadline))
        return nullptr;
    return listener;
}

X11KeyListener::X11KeyListener(std::unique_ptr<X11Connection> connection,
                               const X11KeyboardExtensions& extensions, X11Keyboards keyboards,
                               X11KeyboardMap map, SyntheticKeyLedger& ledger,
                               platform::EventTap::Callback callback,
                               std::function<void(platform::KeyCombination)> onTaken)
    : connection_(std::move(connection))
    , extensions_(extensions)
    , keyboards_(std::move(keyboards))
    , map_(std::move(map))
    , ledger_(ledger)
    , callback_(std::move(callback))
    , grabs_(*connection_, keyboards_.master, std::move(onTaken))
    , sender_(*connection_, extensions_, ledger) {}

X11KeyListener::~X11KeyListener() {
    ledger_.endListening();
}

void X11KeyListener::selectEvents() {
    struct {
        xcb_input_event_mask_t head;
        std::uint32_t mask;
    } keys{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
           XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE},
        devices{{XCB_INPUT_DEVICE_ALL, 1}, XCB_INPUT_XI_EVENT_MASK_HIERARCHY};
    xcb_input_xi_select_events(connection_->raw(), connection_->root(), 1, &keys.head);
    xcb_input_xi_select_events(connection_->raw(), connection_->root(), 1, &devices.head);
    selectKeyboardChanges(*connection_);
}

void X11KeyListener::readHeldKeys() {
    const auto reply = connection_->reply<xcb_query_keymap_reply_t>(xcb_query_keymap(connection_->raw()),
                                                                    connection_->deadlineIn(replySeconds));
    if (!reply)
        return;
    downInServer_ = keysDownIn(*reply);
    for (unsigned int keycode = 0; keycode < downInServer_.size(); ++keycode) {
        if (downInServer_.test(keycode))
            held_.press(HeldKeys::anyKeyboard, static_cast<xcb_keycode_t>(keycode));
    }
}

void X11KeyListener::setSwallowable(const std::vector<platform::KeyCombination>& combinations) {
    grabs_.setCombinations(combinations, map_);
}

bool X11KeyListener::processEvents() {
    while (const auto event = connection_->takeEvent())
        handle(*event);
    return connection_->isAlive();
}

void X11KeyListener::waitForInput(int otherDescriptor) {
    connection_->waitForInput(otherDescriptor,
                              grabs_.nextDeadline().value_or(std::numeric_limits<double>::infinity()));
}

void X11KeyListener::reportDisabled() {
    callback_({platform::KeyEvent::Type::tapDisabled, 0, 0});
}

void X11KeyListener::handle(const xcb_generic_event_t& event) {
    // Errors of requests without replies arrive here too, as type 0: a keyboard that was just unplugged, a
    // grab that has ended by itself. Nothing depends on them.
    const auto type = event.response_type & 0x7f;
    if (type == XCB_GE_GENERIC) {
        const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
        if (generic.extension == extensions_.inputOpcode)
            handleInput(generic);
    } else if (isKeyboardChange(extensions_, event)) {
        updateMap();
    }
}

void X11KeyListener::handleInput(const xcb_ge_generic_event_t& event) {
    switch (event.event_type) {
    case XCB_INPUT_RAW_KEY_PRESS: {
        const auto& key = reinterpret_cast<const xcb_input_raw_key_press_event_t&>(event);
        handlePress(key.sourceid, static_cast<xcb_keycode_t>(key.detail));
        break;
    }
    case XCB_INPUT_RAW_KEY_RELEASE: {
        const auto& key = reinterpret_cast<const xcb_input_raw_key_release_event_t&>(event);
        handleRelease(key.sourceid, static_cast<xcb_keycode_t>(key.detail));
        break;
    }
    case XCB_INPUT_KEY_PRESS:
        grabEventCame(
            static_cast<xcb_keycode_t>(reinterpret_cast<const xcb_input_key_press_event_t&>(event).detail));
        break;
    case XCB_INPUT_HIERARCHY:
        updateKeyboards();
        break;
    default:
        break;
    }
}

bool X11KeyListener::isOwn(std::uint16_t keyboard, KeyStroke stroke) {
    return ledger_.remove(
        keyboard, stroke, connection_->clock().now(),
        [this, keyboard](xcb_keycode_t keycode) { return held_.isHeld(keyboard, keycode); });
}

void X11KeyListener::handlePress(std::uint16_t keyboard, xcb_keycode_t keycode) {
    downInServer_.set(keycode);
    if (isOwn(keyboard, {keycode, true})) {
        // A hotkey of the user may be the combination that the program presses for a paste.
        verdicts_[keycode] = {platform::KeyVerdict::pass, keyboard};
        return;
    }
    ledger_.setUserKeyboard(keyboard);
    held_.press(keyboard, keycode);
    if (map_.isStateKey(keycode)) {
        report(platform::KeyEvent::Type::flagsChanged, keycode);
        grabs_.setHeldModifiers(held_.flags(map_));
        return;
    }
    const auto verdict = report(platform::KeyEvent::Type::keyDown, keycode);
    verdicts_[keycode] = {verdict, keyboard};
    grabs_.keyPressed(keycode, flagsInServer());
}

void X11KeyListener::handleRelease(std::uint16_t keyboard, xcb_keycode_t keycode) {
    downInServer_.reset(keycode);
    if (isOwn(keyboard, {keycode, false}))
        return;
    held_.release(keyboard, keycode, keyboards_);
    // A release after the end of a grab cannot be kept from the application. Applications ignore a release
    // without a press.
    const bool isStateKey = map_.isStateKey(keycode);
    report(isStateKey ? platform::KeyEvent::Type::flagsChanged : platform::KeyEvent::Type::keyUp, keycode);
    if (isStateKey)
        grabs_.setHeldModifiers(held_.flags(map_));
}

void X11KeyListener::grabEventCame(xcb_keycode_t keycode) {
    grabs_.grabEventCame(keycode);
    // The raw event came first, so the callback has already decided; repeats, which have no raw event, follow
    // the press. The whole keyboard is frozen until one of the answers below.
    const auto found = verdicts_.find(keycode);
    if (found == verdicts_.end() || found->second.verdict == platform::KeyVerdict::pass) {
        xcb_input_xi_allow_events(connection_->raw(), XCB_CURRENT_TIME, keyboards_.master,
                                  XCB_INPUT_EVENT_MODE_REPLAY_DEVICE, 0, connection_->root());
        xcb_flush(connection_->raw());
        return;
    }
    // While a grab is active, the application has lost the focus and a paste would come to this program.
    xcb_input_xi_ungrab_device(connection_->raw(), XCB_CURRENT_TIME, keyboards_.master);
    xcb_flush(connection_->raw());
    tapMaskKey(found->second.keyboard);
}

void X11KeyListener::maskHeldKeys() {
    // On the keyboard that was used last: after a press on another one, window managers grab their shortcuts
    // again.
    tapMaskKey(ledger_.userKeyboard());
}

void X11KeyListener::tapMaskKey(std::uint16_t keyboard) {
    // A key that means nothing ends the repeats of the key before it. It also keeps Qt from taking the
    // release of Alt for a press of Alt alone, which moves the focus to the menu bar.
    if (const auto mask = map_.unusedKeycode())
        sender_.send(keyboards_, keyboard, {{*mask, true}, {*mask, false}});
}

void X11KeyListener::updateKeyboards() {
    auto keyboards =
        receiveKeyboards(*connection_, requestKeyboards(*connection_), connection_->deadlineIn(replySeconds));
    if (!keyboards)
        return;
    // A keyboard that was unplugged, or switched off with its virtual terminal, reports no releases.
    bool hasReleased = false;
    for (const auto device : keyboards_.hardware) {
        if (!keyboards->isHardware(device))
            hasReleased |= held_.dropKeyboard(device);
    }
    keyboards_ = std::move(*keyboards);
    if (!hasReleased)
        return;
    callback_({platform::KeyEvent::Type::flagsChanged, -1, held_.flags(map_)});
    grabs_.setHeldModifiers(held_.flags(map_));
}

void X11KeyListener::updateMap() {
    auto map = X11KeyboardMap::receive(*connection_, X11KeyboardMap::request(*connection_),
                                       connection_->deadlineIn(replySeconds));
    if (map)
        map_ = std::move(*map);
    grabs_.setMap(map_);
}

std::uint64_t X11KeyListener::flagsInServer() const {
    std::uint64_t flags = 0;
    for (unsigned int keycode = 0; keycode < 256; ++keycode) {
        if (downInServer_.test(keycode))
            flags |= map_.modifierOf(static_cast<xcb_keycode_t>(keycode));
    }
    return flags;
}

platform::KeyVerdict X11KeyListener::report(platform::KeyEvent::Type type, xcb_keycode_t keycode) {
    return callback_({type, map_.virtualKeyCodeOf(keycode), held_.flags(map_)});
}

} // namespace sonvale::adapters::x11
