#pragma once

namespace sonvale::platform {

/// Key presses by this program in the front application.
///
/// Called from the insertion actor. Each press returns when it is sent: after a few milliseconds, and after
/// up to 1 s if the display does not answer. No operation reports a failure: keys that cannot be sent are
/// dropped. The presses work while the user holds modifier keys, leave no key stuck, and are not reported by
/// the program's own `EventTap`.
class SyntheticInput {
public:
    SyntheticInput() = default;
    SyntheticInput(const SyntheticInput&) = delete;
    SyntheticInput& operator=(const SyntheticInput&) = delete;
    virtual ~SyntheticInput() = default;

    /// Presses the front application's shortcut for "paste" (Command-V; Control-V, or a terminal's own on
    /// Linux).
    virtual void pressPaste() = 0;

    /// Presses the front application's shortcut for "copy" (Command-C; Control-C, or a terminal's own on
    /// Linux). Presses nothing in a program where that shortcut would do something else.
    virtual void pressCopy() = 0;

    /// Presses the shortcut for "undo" (Command-Z; Control-Z on Linux).
    virtual void pressUndo() = 0;
};

} // namespace sonvale::platform
