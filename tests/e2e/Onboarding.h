#pragma once

#include "tests/e2e/RunningProgram.h"
#include "tests/support/PrivateDesktop.h"

namespace sonvale::tests {

/// The window of the dashboard in a private desktop, as its user sees and uses it.
class DashboardOnScreen {
public:
    explicit DashboardOnScreen(const PrivateDesktop& desktop);

    /// Waits for the window and gives it the keyboard. Throws if it does not appear.
    void activate(double seconds = 30) const;
    bool isOpen() const;
    /// Closes the window as the button in its title bar does. Throws if it stays open.
    void close() const;

private:
    int xdotool(std::vector<std::string> arguments) const;

    const PrivateDesktop& desktop_;
};

constexpr int lastStep = 11;

/// Presses "Continue" with the keyboard until `program` has gone from step `from` to step `to`.
void continueSteps(const PrivateDesktop& desktop, const RunningProgram& program, int from, int to);

/// Goes through all steps to "Get Started" with the keyboard.
void completeOnboarding(const PrivateDesktop& desktop, const RunningProgram& program);

} // namespace sonvale::tests
