#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace sonvale::adapters::x11 {

/// One press or release of a key, by its X key code.
struct KeyStroke {
    std::uint8_t keycode = 0;
    bool isPress = false;
    bool operator==(const KeyStroke&) const = default;
};

/// The strokes that this program has sent and that the server has not reported back.
///
/// The server reports synthetic keys like all others. A sender writes its strokes here before it sends them.
/// The listener removes them in the order in which they were sent; everything else comes from the user, even
/// strokes of other programs on the same XTEST keyboard. Every operation may be called from any thread.
class SyntheticKeyLedger {
public:
    /// Forgets all strokes and starts to record them. Without a listener nothing would remove them.
    void beginListening();
    void endListening();

    /// Records strokes; must be called before they are sent to `device`. The server keeps the order of one
    /// sender's strokes and mixes the strokes of two; `sender` identifies the sender. `now` is in seconds of
    /// one clock that does not go back.
    void write(const void* sender, std::uint16_t device, const std::vector<KeyStroke>& strokes, double now);

    /// Removes a stroke that the server reports, and returns true, if this program has sent it. `isHeld` says
    /// which keys the user holds on that device: the server does not report their presses.
    bool remove(std::uint16_t device, KeyStroke stroke, double now,
                const std::function<bool(std::uint8_t keycode)>& isHeld);

    /// Returns the keyboard that the user typed on last, 0 if unknown.
    std::uint16_t userKeyboard() const;
    void setUserKeyboard(std::uint16_t device);

private:
    struct Entry {
        KeyStroke stroke;
        double writtenAt;
    };
    using Expected = std::deque<Entry>;

    static bool removeFrom(Expected& expected, KeyStroke stroke, double now,
                           const std::function<bool(std::uint8_t keycode)>& isHeld);

    mutable std::mutex mutex_;
    bool isListening_ = false;
    std::map<std::pair<std::uint16_t, const void*>, Expected> entries_; ///< by device and sender
    std::uint16_t userKeyboard_ = 0;
};

} // namespace sonvale::adapters::x11
