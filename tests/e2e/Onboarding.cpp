#include "tests/e2e/Onboarding.h"

#include "tests/support/TestKeyboard.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>
#include <fmt/format.h>

#include <stdexcept>

namespace sonvale::tests {

namespace {

constexpr double timeout = 30;

void press(TestKeyboard& keyboard, const RunningProgram& program, const std::string& expected) {
    keyboard.tap(XK_Return);
    if (!program.waitForOutput(expected, timeout))
        throw std::runtime_error("not logged: " + expected + "\n" + program.output());
}

} // namespace

DashboardOnScreen::DashboardOnScreen(const PrivateDesktop& desktop)
    : desktop_(desktop) {}

void DashboardOnScreen::activate(double seconds) const {
    if (!eventually(seconds, [&] { return isOpen(); }))
        throw std::runtime_error("the dashboard did not open");
    xdotool({"windowactivate", "--sync"});
}

bool DashboardOnScreen::isOpen() const {
    return xdotool({"getwindowname"}) == 0;
}

void DashboardOnScreen::close() const {
    if (xdotool({"windowactivate", "--sync"}) != 0)
        throw std::runtime_error("there is no dashboard to close");
    auto* display = XOpenDisplay(desktop_.display().c_str());
    const auto atom = [display](const char* name) { return XInternAtom(display, name, False); };
    Atom type = 0;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char* value = nullptr;
    XGetWindowProperty(display, DefaultRootWindow(display), atom("_NET_ACTIVE_WINDOW"), 0, 1, False,
                       XA_WINDOW, &type, &format, &count, &left, &value);
    // EWMH: the window manager asks the window to close, as it does for the button.
    XEvent request{};
    request.xclient.type = ClientMessage;
    request.xclient.window = *reinterpret_cast<Window*>(value);
    request.xclient.message_type = atom("_NET_CLOSE_WINDOW");
    request.xclient.format = 32;
    XSendEvent(display, DefaultRootWindow(display), False, SubstructureNotifyMask | SubstructureRedirectMask,
               &request);
    XFree(value);
    XCloseDisplay(display);
    if (!eventually(timeout, [&] { return !isOpen(); }))
        throw std::runtime_error("the dashboard did not close");
}

int DashboardOnScreen::xdotool(std::vector<std::string> arguments) const {
    std::vector<std::string> command{
        "timeout", "10", "xdotool", "search", "--onlyvisible", "--name", "^Son Vale Dashboard$"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return run(command, {{"DISPLAY", desktop_.display()}});
}

void continueSteps(const PrivateDesktop& desktop, const RunningProgram& program, int from, int to) {
    TestKeyboard keyboard(desktop.display(), TestKeyboard::Source::hardware);
    for (int step = from; step < to; ++step)
        press(keyboard, program,
              fmt::format("[Onboarding] CONTINUE clicked — current step {} → {}", step, step + 1));
}

void completeOnboarding(const PrivateDesktop& desktop, const RunningProgram& program) {
    DashboardOnScreen(desktop).activate();
    continueSteps(desktop, program, 0, lastStep);
    TestKeyboard keyboard(desktop.display(), TestKeyboard::Source::hardware);
    press(keyboard, program, "[Onboarding] GET STARTED clicked — calling completeOnboarding()");
}

} // namespace sonvale::tests
