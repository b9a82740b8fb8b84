#include "adapters/x11/keys/X11KeyGrabs.h"

#include <xcb/xinput.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

// Seconds after a change of the keyboard. Openbox grabs at once, xfwm4 after a quarter of a second, and on a
// busy machine both need a tenth of a second more.
constexpr double attempts[] = {0, 0.008, 0.016, 0.032, 0.064, 0.128, 0.3, 0.6, 1.2};
// While a modifier of a combination is held, its key may be pressed at any moment.
constexpr double heldModifierInterval = 0.004;
constexpr double unsettledSeconds = 2;
constexpr double maxGrabDelay = 0.020;
constexpr double replySeconds = 1;

} // namespace

X11KeyGrabs::X11KeyGrabs(X11Connection& connection, std::uint16_t keyboard,
                         std::function<void(platform::KeyCombination)> onTaken)
    : connection_(connection)
    , keyboard_(keyboard)
    , onTaken_(std::move(onTaken))
    , nextAttempt_(std::size(attempts)) {}

void X11KeyGrabs::setCombinations(const std::vector<platform::KeyCombination>& combinations,
                                  const X11KeyboardMap& map) {
    for (const auto& entry : entries_)
        ungrab(entry);
    entries_.clear();
    awaited_.reset();
    locks_ = map.lockCombinations();
    for (const auto& combination : combinations) {
        if (combination.keyCode >= 0)
            entries_.push_back({combination, grabsOf(combination, map)});
    }
    startRegrabbing();
}

void X11KeyGrabs::setMap(const X11KeyboardMap& map) {
    awaited_.reset();
    for (auto& entry : entries_) {
        auto grabs = grabsOf(entry.combination, map);
        if (grabs == entry.grabs)
            continue;
        ungrab(entry);
        entry.grabs = std::move(grabs);
    }
    locks_ = map.lockCombinations();
    startRegrabbing();
}

void X11KeyGrabs::startRegrabbing() {
    if (entries_.empty()) {
        nextAttempt_ = std::size(attempts);
        return;
    }
    regrabbingSince_ = connection_.clock().now();
    nextAttempt_ = 0;
}

void X11KeyGrabs::setHeldModifiers(std::uint64_t modifiers) {
    const auto added = modifiers & ~heldModifiers_;
    heldModifiers_ = modifiers;
    const bool concernsAny = std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return (entry.combination.modifiers & added) != 0;
    });
    if (concernsAny)
        grabAll();
}

bool X11KeyGrabs::isModifierHeld() const {
    return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return (entry.combination.modifiers & heldModifiers_) != 0;
    });
}

void X11KeyGrabs::keyPressed(xcb_keycode_t keycode, std::uint64_t modifiers) {
    for (std::size_t i = 0; i < entries_.size(); ++i) {
        const auto& entry = entries_[i];
        const bool hasKey = std::any_of(entry.grabs.begin(), entry.grabs.end(),
                                        [&](const Grab& grab) { return grab.keycode == keycode; });
        if (hasKey && entry.combination.modifiers == modifiers)
            awaited_ = Awaited{keycode, i, connection_.clock().now() + maxGrabDelay};
    }
}

void X11KeyGrabs::grabEventCame(xcb_keycode_t keycode) {
    if (!awaited_ || awaited_->keycode != keycode)
        return;
    entries_[awaited_->entry].wasMissed = false;
    awaited_.reset();
}

std::optional<double> X11KeyGrabs::nextDeadline() const {
    std::optional<double> due;
    const auto consider = [&](double time) {
        if (!due || time < *due)
            due = time;
    };
    if (nextAttempt_ < std::size(attempts))
        consider(regrabbingSince_ + attempts[nextAttempt_]);
    if (isModifierHeld() && lastAttempt_ + heldModifierInterval < regrabbingSince_ + unsettledSeconds)
        consider(lastAttempt_ + heldModifierInterval);
    if (awaited_)
        consider(awaited_->until);
    return due;
}

bool X11KeyGrabs::runDeadline() {
    const double now = connection_.clock().now();
    const auto due = nextDeadline();
    if (!due || *due > now)
        return false;
    if (awaited_ && awaited_->until <= now)
        handleMiss();
    const bool wasTrying = nextAttempt_ < std::size(attempts);
    // A delayed thread makes one attempt in place of all that it has missed.
    while (nextAttempt_ < std::size(attempts) && regrabbingSince_ + attempts[nextAttempt_] <= now)
        ++nextAttempt_;
    grabAll();
    if (wasTrying && nextAttempt_ == std::size(attempts)) {
        for (auto& entry : entries_) {
            if (entry.isRefused)
                report(entry);
        }
    }
    return true;
}

std::vector<X11KeyGrabs::Grab> X11KeyGrabs::grabsOf(const platform::KeyCombination& combination,
                                                    const X11KeyboardMap& map) const {
    const auto modifiers = map.serverModifiers(combination.modifiers & platform::modifier::mask);
    if (!modifiers)
        return {};
    std::vector<Grab> result;
    for (const auto keycode : map.keycodesOf(combination.keyCode))
        result.push_back({keycode, *modifiers});
    return result;
}

void X11KeyGrabs::grabAll() {
    // The grab needs raw events too: while it is active the server sends them to the grabbing client only
    // through the grab.
    constexpr std::uint32_t mask = XCB_INPUT_XI_EVENT_MASK_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_KEY_RELEASE |
                                   XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS |
                                   XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE;
    std::vector<std::pair<Entry*, xcb_input_xi_passive_grab_device_cookie_t>> requests;
    for (auto& entry : entries_) {
        entry.isRefused = false;
        for (const auto& grab : entry.grabs) {
            std::vector<std::uint32_t> modifiers;
            for (const auto lock : locks_)
                modifiers.push_back(grab.modifiers | lock);
            requests.emplace_back(&entry,
                                  xcb_input_xi_passive_grab_device(
                                      connection_.raw(), XCB_CURRENT_TIME, connection_.root(), XCB_NONE,
                                      grab.keycode, keyboard_, static_cast<std::uint16_t>(modifiers.size()),
                                      1, XCB_INPUT_GRAB_TYPE_KEYCODE, XCB_INPUT_GRAB_MODE_22_SYNC,
                                      XCB_INPUT_GRAB_MODE_22_ASYNC, XCB_INPUT_GRAB_OWNER_NO_OWNER, &mask,
                                      modifiers.data()));
        }
    }
    lastAttempt_ = connection_.clock().now();
    const double deadline = lastAttempt_ + replySeconds;
    for (const auto& [entry, cookie] : requests) {
        const auto reply = connection_.reply<xcb_input_xi_passive_grab_device_reply_t>(cookie, deadline);
        // The reply lists the refused sets of modifiers.
        if (reply && reply->num_modifiers > 0)
            entry->isRefused = true;
    }
}

void X11KeyGrabs::ungrab(const Entry& entry) {
    for (const auto& grab : entry.grabs) {
        std::vector<std::uint32_t> modifiers;
        for (const auto lock : locks_)
            modifiers.push_back(grab.modifiers | lock);
        xcb_input_xi_passive_ungrab_device(connection_.raw(), connection_.root(), grab.keycode, keyboard_,
                                           static_cast<std::uint16_t>(modifiers.size()),
                                           XCB_INPUT_GRAB_TYPE_KEYCODE, modifiers.data());
    }
    xcb_flush(connection_.raw());
}

void X11KeyGrabs::handleMiss() {
    auto& entry = entries_[awaited_->entry];
    awaited_.reset();
    // One miss may be caused by a window manager that was faster after a change of the keyboard, or by an
    // open menu.
    if (entry.isRefused || entry.wasMissed)
        report(entry);
    entry.wasMissed = true;
    startRegrabbing();
}

void X11KeyGrabs::report(Entry& entry) {
    if (std::exchange(entry.isReported, true) || !onTaken_)
        return;
    onTaken_(entry.combination);
}

} // namespace sonvale::adapters::x11
