#include "platform/linux/SyntheticKeyLedger.h"

#include <algorithm>

namespace sonvale::platform::linux {

namespace {

/// The server answers within a millisecond; what it has not reported for so long is lost, and must not
/// stand in the way of what is sent later.
constexpr double longestAnswer = 5;

} // namespace

void SyntheticKeyLedger::beginListening() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
    isListening_ = true;
    userKeyboard_ = 0;
}

void SyntheticKeyLedger::endListening() {
    const std::lock_guard lock(mutex_);
    entries_.clear();
    isListening_ = false;
}

void SyntheticKeyLedger::write(const void* sender, std::uint16_t device,
                               const std::vector<KeyStroke>& strokes, double now) {
    const std::lock_guard lock(mutex_);
    if (!isListening_)
        return;
    for (const auto& stroke : strokes)
        entries_[{device, sender}].push_back({stroke, now});
}

bool SyntheticKeyLedger::strikeOut(std::uint16_t device, KeyStroke stroke, double now) {
    const std::lock_guard lock(mutex_);
    return std::any_of(entries_.begin(), entries_.end(), [&](auto& entry) {
        return entry.first.first == device && strikeOutOf(entry.second, stroke, now);
    });
}

bool SyntheticKeyLedger::strikeOutOf(Expected& expected, KeyStroke stroke, double now) {
    while (!expected.empty() && now - expected.front().writtenAt > longestAnswer)
        expected.pop_front();
    // The server leaves out the press of a modifier that this keyboard holds already. It leaves out nothing
    // else, so only presses may be passed over, and none whose release would then be the next to come.
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (expected[i].stroke == stroke) {
            expected.erase(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(i) + 1);
            return true;
        }
        if (!expected[i].stroke.isPress || expected[i].stroke.keycode == stroke.keycode)
            break;
    }
    return false;
}

std::uint16_t SyntheticKeyLedger::userKeyboard() const {
    const std::lock_guard lock(mutex_);
    return userKeyboard_;
}

void SyntheticKeyLedger::setUserKeyboard(std::uint16_t device) {
    const std::lock_guard lock(mutex_);
    userKeyboard_ = device;
}

} // namespace sonvale::platform::linux
