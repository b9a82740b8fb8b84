#pragma once

namespace sonvale::platform {

/// Key presses made by the program in the front application.
///
/// Called from the insertion actor; each press returns once it is sent (a few milliseconds; 1 s at most if
/// the display does not answer). No operation fails towards the caller: where the keys cannot be sent nothing
/// happens. They work while the user holds modifier keys, leave no key stuck, and are not reported by the
/// program's own `EventTap`.
class SyntheticInput {
public:
    SyntheticInput() = default;
    SyntheticInput(const SyntheticInput&) = delete;
    SyntheticInput& operator=(const SyntheticInput&) = delete;
    virtual ~SyntheticInput() = default;

    /// The front application's own shortcut for "paste" (Command-V; Control-V, or a terminal's own on Linux).
    virtual void pressPaste() = 0;

    /// The front application's own shortcut for "copy" (Command-C; Control-C, or a terminal's own on Linux).
    /// Nothing is pressed in a program where that shortcut would do something else.
    virtual void pressCopy() = 0;

    /// The shortcut for "undo" (Command-Z; Control-Z on Linux).
    virtual void pressUndo() = 0;
};

} // namespace sonvale::platform
