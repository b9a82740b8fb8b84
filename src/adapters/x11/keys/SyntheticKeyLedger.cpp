#include "adapters/x11/keys/SyntheticKeyLedger.h"

#include <algorithm>

namespace sonvale::adapters::x11 {

namespace {

/// Maximum time until the server reports a stroke, in seconds. It needs a millisecond; a stroke that it has
/// not reported by then is lost and must not match a later one.
constexpr double maxReportSeconds = 5;

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

bool SyntheticKeyLedger::remove(std::uint16_t device, KeyStroke stroke, double now,
                                const std::function<bool(std::uint8_t keycode)>& isHeld) {
    const std::lock_guard lock(mutex_);
    return std::any_of(entries_.begin(), entries_.end(), [&](auto& entry) {
        return entry.first.first == device && removeFrom(entry.second, stroke, now, isHeld);
    });
}

bool SyntheticKeyLedger::removeFrom(Expected& expected, KeyStroke stroke, double now,
                                    const std::function<bool(std::uint8_t keycode)>& isHeld) {
    while (!expected.empty() && now - expected.front().writtenAt > maxReportSeconds)
        expected.pop_front();
    // The server omits only the press of a modifier that is already held on this keyboard. If any other press
    // were skipped, the user's own release of a held modifier could be taken for the program's.
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (expected[i].stroke == stroke) {
            expected.erase(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(i) + 1);
            return true;
        }
        const auto& missing = expected[i].stroke;
        if (!missing.isPress || missing.keycode == stroke.keycode || !isHeld(missing.keycode))
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

} // namespace sonvale::adapters::x11
