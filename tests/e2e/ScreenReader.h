#pragma once

#include "tests/support/PrivateDesktop.h"

#include <string>

namespace sonvale::tests {

/// The program's windows as assistive technology sees them: their texts, and their controls by name. The
/// desktop must have been made accessible before the program started (`turnOnAccessibility`).
class ScreenReader {
public:
    explicit ScreenReader(const PrivateDesktop& desktop)
        : desktop_(desktop) {}

    /// Returns all visible items, one line each, with tabs between the role, the name, "on" if the item is
    /// checked or selected, and the text of a field.
    std::string read() const;
    /// Wait until the result of `read` contains these words, or no longer contains them. Return whether that
    /// happened in time.
    bool waitForText(const std::string& words, double seconds) const;
    bool waitForNoText(const std::string& words, double seconds) const;

    /// Waits for a control with this name (and role, as AT-SPI calls it), and presses the first one. Throws
    /// if there is none within some seconds.
    void press(const std::string& name, const std::string& role = {}) const;
    /// Gives a control the keyboard.
    void focus(const std::string& name, const std::string& role = {}) const;
    /// Returns the text of the field. Empty if there is no such field.
    std::string text(const std::string& name, const std::string& role = {}) const;

private:
    std::string ask(std::vector<std::string> arguments) const;
    void act(const std::string& what, const std::string& name, const std::string& role) const;

    const PrivateDesktop& desktop_;
};

} // namespace sonvale::tests
