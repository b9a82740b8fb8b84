#include "tests/e2e/Session.h"

#include "tests/e2e/Onboarding.h"
#include "tests/support/Accessibility.h"

#include <X11/Xlib.h>
#include <X11/keysym.h>

#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace {

/// The machine may be busy with other tests.
constexpr double patience = 180;

const std::string started = "startDictation total: ";
const std::string stopped = "stopDictation total: ";

PrivateDesktop& prepared(PrivateDesktop& desktop, const Session::Options& options) {
    if (options.isAccessible)
        turnOnAccessibility(desktop.environment());
    if (options.prepare)
        options.prepare(desktop);
    return desktop;
}

/// Whether the screen has a window of the ring's size that no window manager has placed.
bool isRingShown(const std::string& displayName) {
    constexpr int ringSize = 48;
    auto* display = XOpenDisplay(displayName.c_str());
    if (!display)
        throw std::runtime_error("no display " + displayName);
    // A window may go while it is looked at.
    const auto former = XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
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
    XSetErrorHandler(former);
    XCloseDisplay(display);
    return isShown;
}

/// A user who is not signed in is shown the way in first, and closes it.
void comeToTheEditor(const RunningProgram& program, const PrivateDesktop& desktop, bool isNewUser) {
    constexpr double longerThanItTakesToOpen = 0.5;
    program.waitForOutput("[AppDelegate] Initialization complete", patience);
    if (isNewUser)
        goThroughFirstSteps(desktop, program);
    if (program.waitForOutput("[AppDelegate] Opening dashboard", longerThanItTakesToOpen)) {
        const DashboardOnScreen dashboard(desktop);
        dashboard.activate();
        dashboard.close();
    }
}

Editor::Options editorOf(const RunningProgram& program, const PrivateDesktop& desktop,
                         const Session::Options& options) {
    comeToTheEditor(program, desktop, options.isNewUser);
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
    // A window manager that has bound one of the shortcuts gives it up within this time.
    pauseMilliseconds(1500);
}

void Session::dictate(const Voice& voice) {
    holdToTalk();
    speak(voice);
    letGo();
}

void Session::holdToTalk() {
    startsBefore_ = program.timings(started).size();
    stopsBefore_ = program.timings(stopped).size();
    keyboard.down(XK_Alt_L);
    waitForStart();
    // A shorter press counts as none.
    pauseMilliseconds(300);
}

void Session::holdToCommand() {
    startsBefore_ = program.timings(started).size();
    keyboard.down(XK_Alt_L);
    keyboard.down(XK_equal);
    waitForStart();
}

void Session::letGoOfCommand() {
    keyboard.up(XK_equal);
    keyboard.up(XK_Alt_L);
}

void Session::waitForRingToHide() {
    if (!eventually(patience, [this] { return !isRingShown(desktop.display()); }))
        fail("the ring did not go");
}

void Session::tapHandsFree() {
    keyboard.chord(XK_Alt_L, XK_space);
}

void Session::waitForStart() {
    if (!program.waitForTimings(started, startsBefore_ + 1, patience))
        fail("no recording began when the keys were held");
}

void Session::speak(const Voice& voice) {
    if (startSpeaking(voice).wait(patience) != 0)
        fail("the sentence was not played to its end");
}

ChildProcess Session::startSpeaking(const Voice& voice) {
    // Sound that is late on a busy machine would leave gaps in the sentence.
    constexpr int latencyMilliseconds = 1000;
    return desktop.sound().play(voiceFile(voice.name).string(), latencyMilliseconds);
}

void Session::letGo() {
    if (program.timings(stopped).size() != stopsBefore_)
        fail("the dictation ended while Alt was held");
    keyboard.up(XK_Alt_L);
    if (!program.waitForTimings(stopped, stopsBefore_ + 1, patience))
        fail("the dictation did not end when Alt was let go");
}

void Session::fail(const std::string& reason) const {
    throw std::runtime_error(reason + "; the program wrote:\n" + program.output());
}

} // namespace sonvale::tests
