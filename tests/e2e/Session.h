#pragma once

#include "tests/e2e/RunningProgram.h"
#include "tests/support/Editors.h"
#include "tests/support/PrivateDesktop.h"
#include "tests/support/TestKeyboard.h"
#include "tests/support/Voices.h"

#include <functional>
#include <string>

namespace sonvale::tests {

/// A user at work: a desktop with the program running in it, an editor in front, and hands on the keyboard.
class Session {
public:
    struct Options {
        WindowManager windowManager = WindowManager::openbox;
        PrivateDesktop::Sound sound = PrivateDesktop::Sound::withMicrophone;
        Editor::Program editor = Editor::Program::mousepad;
        std::string text = {};            ///< that the editor's file holds at first
        std::string terminalCommand = {}; ///< as in `Editor::Options`
        bool isNewUser = false;           ///< who goes through the first steps before the editor opens
        bool isAccessible = false;        ///< the editor tells assistive technology of itself
        std::function<void(PrivateDesktop&)> prepare = {}; ///< called before the program starts
        RunningProgram::Options program = {};
    };

    Session();
    /// Comes back when the program hears keys and the editor has the keyboard; throws when it does not get
    /// there.
    explicit Session(const Options& options);

    /// Holds Alt, speaks the sentence into the microphone, lets go, and waits for the end of the dictation.
    /// Throws with the reason, and with what the program wrote, when one of these steps does not come about.
    void dictate(const Voice& voice);

    // The steps of `dictate`.
    void holdToTalk();
    void speak(const Voice& voice);
    void letGo();

    /// Waits until the ring has gone: the end of every dictation, also of one that prints no timing (a
    /// snippet, a command). Before the end, the test must press no keys, not even to save the editor's text:
    /// the program presses its own paste shortcut, and a Control key that goes up in the middle of it leaves
    /// a plain "v".
    void waitForRingToHide();

    /// Holds the keys of command mode and waits for the recording, as `holdToTalk` does.
    void holdToCommand();
    void letGoOfCommand();
    /// Enters hands-free mode, or leaves it.
    void tapHandsFree();

    /// Begins to play the sentence; the player ends with it.
    ChildProcess startSpeaking(const Voice& voice);

    PrivateDesktop desktop;
    ChildProcess panel; ///< with a tray
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
