#pragma once

#include "tests/support/PrivateDesktop.h"

#include <string>

namespace sonvale::tests {

/// The program's windows as assistive technology sees them: what they say, and their controls by name. The
/// desktop must have been made accessible before the program started (`turnOnAccessibility`).
class ScreenReader {
public:
    explicit ScreenReader(const PrivateDesktop& desktop)
        : desktop_(desktop) {}

    /// Everything that shows now, one line each: role, name, "on" when it is checked or selected, and what
    /// stands in a field, parted by tabs.
    std::string read() const;
    /// Whether these words come to stand among what `read` gives.
    bool comesToSay(const std::string& words, double seconds) const;
    bool comesNotToSay(const std::string& words, double seconds) const;

    /// Presses the first control with this name (and role, as AT-SPI calls it), once there is one. Throws
    /// when there is none within some seconds.
    void press(const std::string& name, const std::string& role = {}) const;
    /// Gives it the keyboard.
    void focus(const std::string& name, const std::string& role = {}) const;
    /// What stands in the field; empty when there is none.
    std::string text(const std::string& name, const std::string& role = {}) const;

private:
    std::string ask(std::vector<std::string> arguments) const;
    void act(const std::string& what, const std::string& name, const std::string& role) const;

    const PrivateDesktop& desktop_;
};

} // namespace sonvale::tests
