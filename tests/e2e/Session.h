#pragma once

#include "tests/e2e/RunningProgram.h"
#include "tests/support/Editors.h"
#include "tests/support/PrivateDesktop.h"
#include "tests/support/TestKeyboard.h"
#include "tests/support/Voices.h"

#include <functional>
#include <string>

namespace sonvale::tests {

/// A user at work: a desktop with the running program, an editor in front, and a keyboard.
class Session {
public:
    struct Options {
        WindowManager windowManager = WindowManager::openbox;
        PrivateDesktop::Sound sound = PrivateDesktop::Sound::withMicrophone;
        Editor::Program editor = Editor::Program::mousepad;
        std::string text = {};            ///< the text of the editor's file at first
        std::string terminalCommand = {}; ///< as in `Editor::Options`
        bool isNewUser = false;           ///< whether the user completes onboarding before the editor opens
        bool isAccessible = false;        ///< whether the editor reports itself to assistive technology
        std::function<void(PrivateDesktop&)> prepare = {}; ///< called before the program starts
        RunningProgram::Options program = {};
    };

    Session();
    /// Returns when the program listens to keys and the editor has the keyboard. Throws if that does not
    /// happen.
    explicit Session(const Options& options);

    /// Holds Alt, speaks the sentence into the microphone, releases the key, and waits for the end of the
    /// dictation. If one of these steps fails, throws with the reason and the output of the program.
    void dictate(const Voice& voice);

    // The steps of `dictate`.
    void holdToTalk();
    void speak(const Voice& voice);
    void releaseKey();

    /// Waits until the ring is hidden. That is the end of every dictation, also of one that prints no timing
    /// (a snippet, a command). Before that the test must not press keys, not even to save the editor's text:
    /// the program presses its own paste shortcut, and a Control key that is released meanwhile leaves a
    /// plain "v".
    void waitForRingToHide();

    /// Holds the keys of command mode and waits for the recording, as `holdToTalk` does.
    void holdToCommand();
    void releaseCommandKeys();
    /// Starts hands-free mode, or ends it.
    void tapHandsFree();

    /// Starts to play the sentence. The player exits at its end.
    ChildProcess startSpeaking(const Voice& voice);

    PrivateDesktop desktop;
    ChildProcess panel; ///< contains a tray
    RunningProgram program;
    Editor editor;
    TestKeyboard keyboard;

private:
    void waitForStart();
    [[noreturn]] void fail(const std::string& reason) const;

    std::size_t startsBefore_ = 0;
    std::size_t stopsBefore_ = 0;
};

} // namespace sonvale::tests
