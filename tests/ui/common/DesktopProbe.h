#pragma once

#include "tests/support/ChildProcess.h"

#include <QCoreApplication>
#include <QImage>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// The private display as another program sees it, on a connection of its own.
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

    /// Opens a window of one color (0xRRGGBB) and gives it the focus. A full-screen one fills the screen.
    WindowId openWindow(Place place, unsigned long color);
    WindowId openFullScreenWindow(unsigned long color);
    /// Opens a panel along the top of the screen that keeps its place free of windows (EWMH strut).
    WindowId openTopPanel(int height);
    void closeWindow(WindowId window);
    void activate(WindowId window);

    /// Moves the pointer and presses and releases its first button.
    void click(int x, int y);
    /// Clicks that `window` was given.
    int clicks(WindowId window);

    /// The window that has the keyboard.
    WindowId focus();
    /// A window's place on the screen.
    Place place(WindowId window);
    bool isMapped(WindowId window);
    bool isOverrideRedirect(WindowId window);
    /// The names of the atoms in a property.
    std::vector<std::string> atoms(WindowId window, const std::string& property);
    bool hasOwner(const std::string& selection);
    /// Whether a point, relative to the window, is inside its visible shape.
    bool isInShape(WindowId window, int x, int y);

    /// What the screen shows.
    QImage screen(Place place);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

/// As `eventually`, with Qt's events running meanwhile.
template <class Condition>
bool eventuallyInQt(double seconds, Condition condition) {
    return eventually(seconds, [&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

/// Lets Qt and the desktop work for a while, to see that something does not happen.
void runQtFor(double seconds);

} // namespace sonvale::tests
