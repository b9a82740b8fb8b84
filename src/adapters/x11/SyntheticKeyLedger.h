#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace sonvale::adapters::x11 {

/// One press or release of a key, of an X key code.
struct KeyStroke {
    std::uint8_t keycode = 0;
    bool isPress = false;
    bool operator==(const KeyStroke&) const = default;
};

/// What the program itself has typed and the server has not yet reported back.
///
/// The server reports synthetic keys like all others. Those who send them write them down here first; the
/// listener strikes them out in the order in which they were sent, and everything else is the user's, also
/// what other programs type through the same XTEST keyboard. All operations from any thread.
class SyntheticKeyLedger {
public:
    /// From here on strokes are written down; what was there before is forgotten. Without a listener nobody
    /// would strike anything out.
    void beginListening();
    void endListening();

    /// To be called before the strokes are sent to `device`. The server keeps the order of each sender's
    /// strokes, and mixes those of two; `sender` tells them apart. `now` in seconds of one clock that does
    /// not go back.
    void write(const void* sender, std::uint16_t device, const std::vector<KeyStroke>& strokes, double now);

    /// Whether a stroke that the server reports is the program's own; if so it is struck out. `isHeld` tells
    /// which keys the user holds on that device: their presses are left out by the server.
    bool strikeOut(std::uint16_t device, KeyStroke stroke, double now,
                   const std::function<bool(std::uint8_t keycode)>& isHeld);

    /// The keyboard that the user typed on last, 0 when unknown.
    std::uint16_t userKeyboard() const;
    void setUserKeyboard(std::uint16_t device);

private:
    struct Entry {
        KeyStroke stroke;
        double writtenAt;
    };
    using Expected = std::deque<Entry>;

    static bool strikeOutOf(Expected& expected, KeyStroke stroke, double now,
                            const std::function<bool(std::uint8_t keycode)>& isHeld);

    mutable std::mutex mutex_;
    bool isListening_ = false;
    std::map<std::pair<std::uint16_t, const void*>, Expected> entries_; ///< by device and sender
    std::uint16_t userKeyboard_ = 0;
};

} // namespace sonvale::adapters::x11
