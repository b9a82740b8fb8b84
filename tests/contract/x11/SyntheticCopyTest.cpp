#include "adapters/x11/keys/X11EventTap.h"
#include "adapters/x11/keys/X11SyntheticInput.h"

#include "runtime/SystemClock.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Editors.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/SelectionOwner.h"
#include "tests/support/TapRecorder.h"
#include "tests/support/TestKeyboard.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <csignal>
#include <fstream>

namespace sonvale::tests {

namespace {

using adapters::x11::SyntheticKeyLedger;
using adapters::x11::X11EventTap;
using adapters::x11::X11SyntheticInput;
using Program = Editor::Program;

/// Shows a line and writes each interruption into the file.
constexpr const char* talkative =
    "trap 'echo interrupted >> FILE' INT; echo 'marked words'; : > FILE; while :; do sleep 0.1; done";

/// A program in front, contents of the user on the clipboard, and the synthetic keys with the tap.
struct Copying {
    explicit Copying(Program program, const std::string& text = {},
                     WindowManager windowManager = WindowManager::openbox)
        : display(windowManager)
        , editor(Editor::Options{display.name(), program, text, {}, talkative}) {
        if (!tap.start(recorder.callback()))
            throw std::runtime_error("the tap does not start");
        pauseMilliseconds(isTerminal(program) ? 1000 : 200);
    }
    ~Copying() { tap.stop(); }

    static bool isTerminal(Program program) {
        return program == Program::xterm || program == Program::xfce4Terminal;
    }

    bool clipboardComesToHold(const std::string& text) const {
        return eventually(10, [&] {
            return run({"sh", "-c",
                        "test \"$(timeout 2 xclip -selection clipboard -o; echo .)\" = '" + text + ".'"},
                       {{"DISPLAY", display.name()}}) == 0;
        });
    }

    bool wasInterrupted() const {
        std::ifstream file(editor.file());
        std::string line;
        return static_cast<bool>(std::getline(file, line));
    }

    PrivateDisplay display;
    SelectionOwner clipboard{display.name(), {{"UTF8_STRING", bytes("the user's")}}};
    Editor editor;
    runtime::SystemClock clock;
    std::shared_ptr<SyntheticKeyLedger> ledger = std::make_shared<SyntheticKeyLedger>();
    TapRecorder recorder;
    X11EventTap tap{clock, ledger, display.name()};
    X11SyntheticInput input{clock, ledger, {}, display.name()};
    TestKeyboard hardware{display.name(), TestKeyboard::Source::hardware};
};

class SyntheticCopyInEditor : public testing::TestWithParam<std::tuple<Program, unsigned long>> {};

} // namespace

TEST_P(SyntheticCopyInEditor, CopiesWhileAModifierIsHeldAndLeavesNoneStuck) {
    const auto [program, modifier] = GetParam();
    Copying copying(program, "one two");
    copying.hardware.chord(XK_Control_L, XK_a);
    pauseMilliseconds(200);
    copying.hardware.down(modifier);
    ASSERT_TRUE(eventually(5, [&] {
        return copying.recorder.count({platform::KeyEvent::Type::keyUp, 0, platform::modifier::control}) == 1;
    })) << copying.recorder.text();
    pauseMilliseconds(100);
    const auto before = copying.recorder.events().size();

    copying.input.pressCopy();

    EXPECT_TRUE(copying.clipboardComesToHold("one two"));
    EXPECT_EQ(copying.recorder.events().size(), before) << copying.recorder.text();
    copying.hardware.up(modifier);
    EXPECT_FALSE(copying.hardware.isAnyKeyDown());
    EXPECT_EQ(copying.hardware.modifiers(), 0u);
    copying.hardware.type("ok");
    EXPECT_TRUE(copying.editor.comesToHold("ok", 15)) << "it was still selected, and replaced";
}

INSTANTIATE_TEST_SUITE_P(
    All, SyntheticCopyInEditor,
    testing::Values(std::tuple(Program::mousepad, XK_Alt_L), std::tuple(Program::mousepad, XK_Super_L),
                    std::tuple(Program::featherpad, XK_Alt_L), std::tuple(Program::featherpad, XK_Super_L)),
    [](const auto& info) {
        return std::string(std::get<0>(info.param) == Program::mousepad ? "Mousepad" : "Featherpad") +
               (std::get<1>(info.param) == XK_Alt_L ? "AltHeld" : "SuperHeld");
    });

TEST(SyntheticCopyX11, KeepsTheClipboardIfNothingIsSelected) {
    for (const auto program : {Program::mousepad, Program::featherpad}) {
        Copying copying(program, "one two");
        copying.input.pressCopy();
        pauseMilliseconds(300);
        EXPECT_TRUE(copying.clipboard.isOwner());
    }
}

TEST(SyntheticCopyX11, CopiesMarkedTextInATerminalWithoutInterruptingIt) {
    Copying copying(Program::xfce4Terminal);
    copying.editor.markFirstWord();
    copying.hardware.down(XK_Alt_L);
    copying.input.pressCopy();
    EXPECT_TRUE(copying.clipboardComesToHold("marked"));
    copying.hardware.up(XK_Alt_L);
    EXPECT_FALSE(copying.hardware.isAnyKeyDown());
    EXPECT_FALSE(copying.wasInterrupted());
    copying.hardware.chord(XK_Control_L, XK_c);
    EXPECT_TRUE(eventually(5, [&] { return copying.wasInterrupted(); })) << "it would have been noticed";
}

TEST(SyntheticCopyX11, PressesNothingInATerminalWithoutMarkedText) {
    for (const auto program : {Program::xfce4Terminal, Program::xterm}) {
        Copying copying(program);
        const SelectionOwner markedElsewhere(copying.display.name(), {{"UTF8_STRING", bytes("elsewhere")}},
                                             {.selection = "PRIMARY"});
        // A tap that does not know the program's own keys reports them all.
        TapRecorder witness;
        X11EventTap other(copying.clock, std::make_shared<SyntheticKeyLedger>(), copying.display.name());
        ASSERT_TRUE(other.start(witness.callback()));
        copying.input.pressCopy();
        pauseMilliseconds(300);
        other.stop();
        EXPECT_TRUE(witness.events().empty()) << witness.text();
        EXPECT_TRUE(copying.clipboard.isOwner());
        EXPECT_FALSE(copying.wasInterrupted());
    }
}

TEST(SyntheticCopyX11, PressesNothingInAnXtermWithMarkedText) {
    Copying copying(Program::xterm);
    copying.editor.markFirstWord();
    copying.hardware.down(XK_Alt_L);
    copying.input.pressCopy();
    pauseMilliseconds(500);
    copying.hardware.up(XK_Alt_L);
    EXPECT_TRUE(copying.clipboard.isOwner());
    EXPECT_FALSE(copying.wasInterrupted());
    copying.hardware.chord(XK_Control_L, XK_c);
    EXPECT_TRUE(eventually(5, [&] { return copying.wasInterrupted(); })) << "it would have been noticed";
}

TEST(SyntheticCopyX11, ReturnsWhileTheServerHangs) {
    const PrivateDisplay display;
    const runtime::SystemClock clock;
    X11SyntheticInput input(clock, std::make_shared<SyntheticKeyLedger>(), {}, display.name());
    display.signalServer(SIGSTOP);
    const double before = monotonicSeconds();
    input.pressCopy();
    const double taken = monotonicSeconds() - before;
    display.signalServer(SIGCONT);
    EXPECT_LT(taken, 3);
}

} // namespace sonvale::tests
