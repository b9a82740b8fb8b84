#include "tests/e2e/Session.h"

#include "tests/e2e/Onboarding.h"
#include "tests/support/Accessibility.h"

#include <X11/Xlib.h>
#include <X11/keysym.h>

#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace {

/// Seconds. Long, because the machine may be busy with other tests.
constexpr double timeout = 180;

const std::string started = "startDictation total: ";
const std::string stopped = "stopDictation total: ";

PrivateDesktop& prepared(PrivateDesktop& desktop, const Session::Options& options) {
    if (options.isAccessible)
        turnOnAccessibility(desktop.environment());
    if (options.prepare)
        options.prepare(desktop);
    return desktop;
}

/// Returns whether the screen has a window of the ring's size that no window manager has placed.
bool isRingShown(const std::string& displayName) {
    constexpr int ringSize = 48;
    auto* display = XOpenDisplay(displayName.c_str());
    if (!display)
        throw std::runtime_error("no display " + displayName);
    // A window may disappear while it is examined.
    const auto previousHandler = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    Window root = None;
    Window parent = None;
    Window* children = nullptr;
    unsigned int count = 0;
    XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
    bool isShown = false;
    for (unsigned int i = 0; i < count && !isShown; ++i) {
        XWindowAttributes window{};
        isShown = XGetWindowAttributes(display, children[i], &window) && window.override_redirect &&
                  window.map_state == IsViewable && window.width == ringSize && window.height == ringSize;
    }
    if (children)
        XFree(children);
    XSync(display, False);
    XSetErrorHandler(previousHandler);
    XCloseDisplay(display);
    return isShown;
}

/// Brings the user to the editor. A new user completes onboarding first, and a signed-out user closes the
/// sign-in.
void reachTheEditor(const RunningProgram& program, const PrivateDesktop& desktop, bool isNewUser) {
    constexpr double openDelay = 0.5;
    program.waitForOutput("[AppDelegate] Initialization complete", timeout);
    if (isNewUser)
        completeOnboarding(desktop, program);
    if (program.waitForOutput("[AppDelegate] Opening dashboard", openDelay)) {
        const DashboardOnScreen dashboard(desktop);
        dashboard.activate();
        dashboard.close();
    }
}

Editor::Options editorOf(const RunningProgram& program, const PrivateDesktop& desktop,
                         const Session::Options& options) {
    reachTheEditor(program, desktop, options.isNewUser);
    std::map<std::string, std::string> environment;
    if (options.isAccessible) {
        environment["DBUS_SESSION_BUS_ADDRESS"] = desktop.environment().at("DBUS_SESSION_BUS_ADDRESS");
        environment["NO_AT_BRIDGE"] = "0";
    }
    return {desktop.display(), options.editor, options.text, std::move(environment), options.terminalCommand};
}

} // namespace

Session::Session()
    : Session(Options{}) {}

Session::Session(const Options& options)
    : desktop(options.windowManager, options.sound)
    , panel(desktop.start({"tint2"}))
    , program(prepared(desktop, options), options.program)
    , editor(editorOf(program, desktop, options))
    , keyboard(desktop.display(), TestKeyboard::Source::hardware) {
    if (!program.waitUntilItListens())
        fail("the program does not hear keys");
    // A window manager that has bound one of the shortcuts releases it within this time.
    pauseMilliseconds(1500);
}

void Session::dictate(const Voice& voice) {
    holdToTalk();
    speak(voice);
    releaseKey();
}

void Session::holdToTalk() {
    startsBefore_ = program.timings(started).size();
    stopsBefore_ = program.timings(stopped).size();
    keyboard.down(XK_Alt_L);
    waitForStart();
    // A shorter press is ignored.
    pauseMilliseconds(300);
}

void Session::holdToCommand() {
    startsBefore_ = program.timings(started).size();
    keyboard.down(XK_Alt_L);
    keyboard.down(XK_equal);
    waitForStart();
}

void Session::releaseCommandKeys() {
    keyboard.up(XK_equal);
    keyboard.up(XK_Alt_L);
}

void Session::waitForRingToHide() {
    if (!eventually(timeout, [this] { return !isRingShown(desktop.display()); }))
        fail("the ring did not go");
}

void Session::tapHandsFree() {
    keyboard.chord(XK_Alt_L, XK_space);
}

void Session::waitForStart() {
    if (!program.waitForTimings(started, startsBefore_ + 1, timeout))
        fail("no recording began when the keys were held");
}

void Session::speak(const Voice& voice) {
    if (startSpeaking(voice).wait(timeout) != 0)
        fail("the sentence was not played to its end");
}

ChildProcess Session::startSpeaking(const Voice& voice) {
    // On a busy machine, late sound would leave gaps in the sentence.
    constexpr int latencyMilliseconds = 1000;
    return desktop.sound().play(voiceFile(voice.name).string(), latencyMilliseconds);
}

void Session::releaseKey() {
    if (program.timings(stopped).size() != stopsBefore_)
        fail("the dictation ended while Alt was held");
    keyboard.up(XK_Alt_L);
    if (!program.waitForTimings(stopped, stopsBefore_ + 1, timeout))
        fail("the dictation did not end when Alt was let go");
}

void Session::fail(const std::string& reason) const {
    throw std::runtime_error(reason + "; the program wrote:\n" + program.output());
}

} // namespace sonvale::tests
