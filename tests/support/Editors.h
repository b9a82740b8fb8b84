#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TestKeyboard.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::tests {

/// A real program that text can be typed into, on a private display, with settings of its own and an empty
/// file.
class Editor {
public:
    enum class Program {
        mousepad,      ///< GTK 3
        featherpad,    ///< Qt 5
        xterm,         ///< a program of the xterm family that runs `cat` into the file
        xfce4Terminal, ///< a VTE terminal that does the same
        kwrite,        ///< KDE's frameworks, on Qt 5
    };

    struct Options {
        std::string display;
        Program program = Program::mousepad;
        std::string text;                               ///< that the file holds at first; for no terminal
        std::map<std::string, std::string> environment; ///< more for the program
        /// What a terminal runs instead. "FILE" in it stands for the file, which it makes when it is ready.
        std::string command;
    };

    /// Starts it and waits until it has the keyboard; throws when it does not get there.
    explicit Editor(Options options);
    Editor(const std::string& display, Program program)
        : Editor(Options{display, program, {}, {}, {}}) {}
    ~Editor();

    /// Brings the window to the front, with the keyboard; false when it does not get there.
    bool focus();

    /// Saves and returns what the file holds, without its last line end: some of the programs add one. Saves
    /// by the program's D-Bus interface if it has one, otherwise by the keys that a user would press.
    std::string savedText();

    /// Whether the text gets to be `expected` within `seconds`; saves every now and then.
    bool comesToHold(const std::string& expected, double seconds);

    /// Marks the first word that a terminal shows, by two clicks.
    void markFirstWord();

    const std::string& file() const { return file_; }
    pid_t pid() const { return process_->pid(); }
    /// Its X window.
    unsigned long window() const { return window_; }

private:
    bool isTerminal() const;
    bool hasKeyboard();
    void save();

    Options options_;
    TemporaryDirectory directory_;
    std::string file_;
    TestKeyboard keyboard_;
    std::unique_ptr<PrivateBus> bus_;
    std::string busAddress_;
    bool isAlone_ = false; ///< no other program of its kind is on the bus
    std::unique_ptr<ChildProcess> process_;
    unsigned long window_ = 0;
};

} // namespace sonvale::tests
