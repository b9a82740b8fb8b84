#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/PrivateBus.h"
#include "tests/support/TestKeyboard.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::tests {

/// A real program with a text input, on a private display, with its own settings and an empty file.
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
        std::string text;                               ///< the first content of the file; not for terminals
        std::map<std::string, std::string> environment; ///< additional variables for the program
        /// The command of a terminal instead of `cat`. "FILE" in it is replaced by the file, which the
        /// command creates when it is ready.
        std::string command;
    };

    /// Starts it and waits until it has the keyboard. Throws if it does not get it.
    explicit Editor(Options options);
    Editor(const std::string& display, Program program)
        : Editor(Options{display, program, {}, {}, {}}) {}
    ~Editor();

    /// Brings the window to the front, with the keyboard. Returns false if that fails.
    bool focus();

    /// Saves and returns the content of the file without its last line end, because some of the programs add
    /// one. Saves through the program's D-Bus interface if it has one, otherwise with the keys that a user
    /// would press.
    std::string savedText();

    /// Returns whether the text becomes `expected` within `seconds`. Saves from time to time.
    bool comesToHold(const std::string& expected, double seconds);

    /// Marks the first word in a terminal with two clicks.
    void markFirstWord();

    const std::string& file() const { return file_; }
    pid_t pid() const { return process_->pid(); }
    /// Returns its X window.
    unsigned long window() const { return window_; }

private:
    void writeSettings() const;
    void startProgram();
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
