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
        std::string terminalCommand = {};                       ///< as in `Editor::Options`
        std::function<void(PrivateDesktop&)> prepare = {}; ///< called before the program starts
    };

    Session();
    /// Comes back when the program hears keys and the editor has the keyboard; throws when it does not get
    /// there.
    explicit Session(Options options);

    /// Holds Alt, speaks the sentence into the microphone, lets go, and waits for the end of the dictation.
    /// False when one of these steps does not come about.
    bool dictate(const Voice& voice);

    /// The two halves of `dictate` around the speaking.
    bool holdToTalk();
    bool speak(const Voice& voice);
    bool letGo();

    PrivateDesktop desktop;
    RunningProgram program;
    Editor editor;
    TestKeyboard keyboard;
};

} // namespace sonvale::tests
