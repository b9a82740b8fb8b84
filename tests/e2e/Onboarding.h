#pragma once

#include "tests/e2e/RunningProgram.h"
#include "tests/support/PrivateDesktop.h"

namespace sonvale::tests {

/// The window of the dashboard in a private desktop, as its user finds and uses it.
class DashboardOnScreen {
public:
    explicit DashboardOnScreen(const PrivateDesktop& desktop);

    /// Waits until it is there and gives it the keyboard; throws when it does not come.
    void activate(double seconds = 30) const;
    bool isOpen() const;
    /// As by the button in its title bar; throws when it does not go.
    void close() const;

private:
    int xdotool(std::vector<std::string> arguments) const;

    const PrivateDesktop& desktop_;
};

constexpr int lastStep = 11;

/// Presses "Continue" with the keyboard until `program` has come from step `from` to step `to`.
void continueSteps(const PrivateDesktop& desktop, const RunningProgram& program, int from, int to);

/// Goes through all steps to "Get Started" with the keyboard.
void goThroughFirstSteps(const PrivateDesktop& desktop, const RunningProgram& program);

} // namespace sonvale::tests
