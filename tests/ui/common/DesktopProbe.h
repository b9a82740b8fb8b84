#pragma once

#include "tests/support/ChildProcess.h"

#include <QCoreApplication>
#include <QImage>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// The private display from the view of another program, with a connection of its own.
class DesktopProbe {
public:
    using WindowId = unsigned long;

    struct Place {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
        friend bool operator==(const Place&, const Place&) = default;
    };

    DesktopProbe();
    ~DesktopProbe();
    DesktopProbe(const DesktopProbe&) = delete;
    DesktopProbe& operator=(const DesktopProbe&) = delete;

    /// Opens a window of one color (0xRRGGBB) and gives it the focus. A full-screen window fills the screen.
    WindowId openWindow(Place place, unsigned long color);
    WindowId openFullScreenWindow(unsigned long color);
    /// Opens a panel at the top of the screen that reserves its space (EWMH strut).
    WindowId openTopPanel(int height);
    void closeWindow(WindowId window);
    void activate(WindowId window);

    /// Moves the pointer, and presses and releases its first button.
    void click(int x, int y);
    /// Returns the number of clicks that `window` received.
    int clicks(WindowId window);

    /// Returns the window with the keyboard focus.
    WindowId focus();
    /// Returns a window's place on the screen.
    Place place(WindowId window);
    bool isMapped(WindowId window);
    bool isOverrideRedirect(WindowId window);
    /// Returns the names of the atoms in a property.
    std::vector<std::string> atoms(WindowId window, const std::string& property);
    bool hasOwner(const std::string& selection);
    /// Returns whether a point, relative to the window, is inside its visible shape.
    bool isInShape(WindowId window, int x, int y);

    /// Returns the content of the screen.
    QImage screen(Place place);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// Like `eventually`, but also processes Qt's events.
template <class Condition>
bool eventuallyInQt(double seconds, Condition condition) {
    return eventually(seconds, [&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

/// Processes events for a while, so that a test can check that something does not happen.
void runQtFor(double seconds);

} // namespace sonvale::tests
