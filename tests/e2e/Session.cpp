#include "tests/e2e/Session.h"

#include <X11/keysym.h>

#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace {

/// The machine may be busy with other tests.
constexpr double patience = 60;

/// Sound that is late on a busy machine would leave gaps in the sentence.
constexpr int playbackLatencyMilliseconds = 250;

const std::string started = "startDictation total: ";
const std::string stopped = "stopDictation total: ";

PrivateDesktop& prepared(PrivateDesktop& desktop, const Session::Options& options) {
    if (options.prepare)
        options.prepare(desktop);
    return desktop;
}

} // namespace

Session::Session()
    : Session(Options{}) {}

Session::Session(Options options)
    : desktop(options.windowManager, options.sound)
    , program(prepared(desktop, options))
    , editor(Editor::Options{desktop.display(), options.editor, {}, {}, std::move(options.terminalCommand)})
    , keyboard(desktop.display(), TestKeyboard::Source::hardware) {
    if (!program.waitUntilItListens())
        throw std::runtime_error("the program does not hear keys:\n" + program.output());
    // A window manager that has bound one of the shortcuts gives it up within this time.
    pauseMilliseconds(1500);
}

bool Session::dictate(const Voice& voice) {
    return holdToTalk() && speak(voice) && letGo();
}

bool Session::holdToTalk() {
    const auto before = program.timings(started).size();
    keyboard.down(XK_Alt_L);
    return program.waitForTimings(started, before + 1, patience);
}

bool Session::speak(const Voice& voice) {
    return desktop.sound().play(voiceFile(voice.name).string(), playbackLatencyMilliseconds).wait(patience) ==
           0;
}

bool Session::letGo() {
    const auto before = program.timings(stopped).size();
    keyboard.up(XK_Alt_L);
    return program.waitForTimings(stopped, before + 1, patience);
}

} // namespace sonvale::tests
