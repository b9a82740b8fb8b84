#include "adapters/x11/keys/X11EventTap.h"
#include "adapters/x11/keys/X11SyntheticInput.h"

#include "runtime/SystemClock.h"
#include "tests/fakes/FakeSyntheticInput.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Editors.h"
#include "tests/support/KeyWindow.h"
#include "tests/support/PrivateDisplay.h"
#include "tests/support/TapRecorder.h"
#include "tests/support/TestKeyboard.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <xcb/xproto.h>

#include <csignal>
#include <fstream>
#include <vector>

namespace sonvale::tests {

namespace {

using adapters::x11::SyntheticKeyLedger;
using adapters::x11::X11EventTap;
using adapters::x11::X11SyntheticInput;
using Program = Editor::Program;
using Source = TestKeyboard::Source;

/// The fake. Its control is the front application.
class FakeFront {
public:
    platform::SyntheticInput& input() { return input_; }
    bool gets(int pastes, int undos, int copies = 0) {
        return input_.control().count(FakeSyntheticInput::Press::paste) == pastes &&
               input_.control().count(FakeSyntheticInput::Press::undo) == undos &&
               input_.control().count(FakeSyntheticInput::Press::copy) == copies;
    }

private:
    FakeSyntheticInput input_;
};

/// The adapter, with a window in front that is not a terminal.
class X11Front {
public:
    platform::SyntheticInput& input() { return input_; }
    bool gets(int pastes, int undos, int copies = 0) {
        return eventually(5, [&] {
            return window_.presses(keyboard_.keycodeOf(XK_v)) == pastes &&
                   window_.presses(keyboard_.keycodeOf(XK_z)) == undos &&
                   window_.presses(keyboard_.keycodeOf(XK_c)) == copies;
        });
    }

private:
    PrivateDisplay display_;
    runtime::SystemClock clock_;
    TestKeyboard keyboard_{display_.name(), Source::xtest};
    KeyWindow window_{display_.name()};
    X11SyntheticInput input_{clock_, std::make_shared<SyntheticKeyLedger>(), {}, display_.name()};
};

/// The rules of `platform::SyntheticInput`.
template <class Front>
class SyntheticInputContract : public testing::Test {
protected:
    Front front_;
};

using Fronts = testing::Types<FakeFront, X11Front>;

} // namespace

TYPED_TEST_SUITE(SyntheticInputContract, Fronts);

TYPED_TEST(SyntheticInputContract, PressesOncePerCall) {
    auto& input = this->front_.input();
    EXPECT_TRUE(this->front_.gets(0, 0));
    input.pressPaste();
    EXPECT_TRUE(this->front_.gets(1, 0));
    input.pressUndo();
    input.pressUndo();
    EXPECT_TRUE(this->front_.gets(1, 2));
    input.pressCopy();
    EXPECT_TRUE(this->front_.gets(1, 2, 1));
}

TYPED_TEST(SyntheticInputContract, ReturnsQuickly) {
    const double before = monotonicSeconds();
    for (int i = 0; i < 5; ++i)
        this->front_.input().pressPaste();
    EXPECT_LT(monotonicSeconds() - before, 5 * 1.0);
    EXPECT_TRUE(this->front_.gets(5, 0));
}

namespace {

/// An editor in front, the synthetic keys with the tap, and a text on the clipboard.
struct Writing {
    explicit Writing(Program program, WindowManager windowManager = WindowManager::openbox,
                     std::string text = {}, std::string command = {})
        : display(windowManager)
        , editor(Editor::Options{display.name(), program, std::move(text), {}, std::move(command)}) {
        offer("clipboard", clipboardText);
        tap.setSwallowable({{49, platform::modifier::option}});
        if (!tap.start(recorder.callback()))
            throw std::runtime_error("the tap does not start");
    }
    ~Writing() { tap.stop(); }

    /// Offers the text from a separate program that ends with this object. Returns when it is offered.
    void offer(const std::string& selection, const std::string& text) {
        const std::string file = directory.path() + "/" + selection;
        std::ofstream(file) << text;
        ChildProcess::Options owner;
        owner.arguments = {"xclip", "-quiet", "-selection", selection, "-i", file};
        owner.environment = {{"DISPLAY", display.name()}};
        owners.emplace_back(std::move(owner));
        ASSERT_TRUE(eventually(10, [&] {
            return run({"sh", "-c",
                        "test \"$(xclip -selection " + selection + " -o; echo .)\" = '" + text + ".'"},
                       {{"DISPLAY", display.name()}}) == 0;
        }));
    }

    static constexpr const char* clipboardText = "said and done ";
    PrivateDisplay display;
    TemporaryDirectory directory;
    std::vector<ChildProcess> owners;
    Editor editor;
    runtime::SystemClock clock;
    std::shared_ptr<SyntheticKeyLedger> ledger = std::make_shared<SyntheticKeyLedger>();
    TapRecorder recorder;
    X11EventTap tap{clock, ledger, display.name()};
    int primaryOffers = 0;
    X11SyntheticInput input{clock, ledger,
                            [this] {
                                ++primaryOffers;
                                offer("primary", clipboardText);
                            },
                            display.name()};
    TestKeyboard hardware{display.name(), Source::hardware};
};

class SyntheticInputInEditor : public testing::TestWithParam<std::tuple<Program, unsigned long>> {};

std::string nameOf(const testing::TestParamInfo<std::tuple<Program, unsigned long>>& info) {
    const char* programs[] = {"Mousepad", "Featherpad", "Xterm", "Xfce4Terminal"};
    const auto [program, modifier] = info.param;
    const char* name = modifier == XK_Alt_L     ? "AltHeld"
                       : modifier == XK_Super_L ? "SuperHeld"
                       : modifier == XK_Shift_L ? "ShiftHeld"
                                                : "ControlHeld";
    return std::string(programs[static_cast<int>(program)]) + name;
}

} // namespace

TEST_P(SyntheticInputInEditor, PastesWhileAModifierIsHeldAndLeavesNoneStuck) {
    const auto [program, modifier] = GetParam();
    Writing writing(program);
    writing.hardware.down(modifier);
    pauseMilliseconds(100);
    writing.input.pressPaste();
    pauseMilliseconds(300);
    writing.input.pressPaste();
    pauseMilliseconds(300);
    writing.hardware.up(modifier);

    const std::string text = Writing::clipboardText;
    EXPECT_TRUE(writing.editor.comesToHold(text + text, 15)) << writing.editor.savedText();
    EXPECT_FALSE(writing.hardware.isAnyKeyDown());
    EXPECT_EQ(writing.hardware.modifiers(), 0u);
    EXPECT_EQ(writing.primaryOffers, program == Program::xterm ? 2 : 0);
    writing.hardware.type("ok");
    EXPECT_TRUE(writing.editor.comesToHold(text + text + "ok", 15)) << writing.editor.savedText();
}

INSTANTIATE_TEST_SUITE_P(
    All, SyntheticInputInEditor,
    testing::Values(std::tuple(Program::mousepad, XK_Alt_L), std::tuple(Program::mousepad, XK_Super_L),
                    std::tuple(Program::mousepad, XK_Shift_L), std::tuple(Program::mousepad, XK_Control_L),
                    std::tuple(Program::featherpad, XK_Alt_L), std::tuple(Program::xterm, XK_Alt_L),
                    std::tuple(Program::xfce4Terminal, XK_Alt_L)),
    nameOf);

TEST(SyntheticInputX11, PastesWithoutAWindowManager) {
    Writing writing(Program::mousepad, WindowManager::none);
    writing.input.pressPaste();
    EXPECT_TRUE(writing.editor.comesToHold(Writing::clipboardText, 15)) << writing.editor.savedText();
}

TEST(SyntheticInputX11, UndoesOnePasteWithOnePress) {
    for (const auto program : {Program::mousepad, Program::featherpad}) {
        Writing writing(program, WindowManager::openbox, "before ");
        writing.hardware.tap(XK_End);
        writing.input.pressPaste();
        const std::string both = std::string("before ") + Writing::clipboardText;
        ASSERT_TRUE(writing.editor.comesToHold(both, 15)) << writing.editor.savedText();
        writing.hardware.down(XK_Alt_L);
        writing.input.pressUndo();
        pauseMilliseconds(200);
        writing.hardware.up(XK_Alt_L);
        EXPECT_TRUE(writing.editor.comesToHold("before ", 15)) << writing.editor.savedText();
    }
}

TEST(SyntheticInputX11, UndoesInTheLineOfAShellWithoutStoppingIt) {
    Writing writing(Program::xterm, WindowManager::openbox, {},
                    ": > FILE; exec bash --norc --noprofile -c 'while IFS= read -e -r line; do echo "
                    "\"$line\" > FILE; done'");
    pauseMilliseconds(1000);
    writing.hardware.type("a");
    writing.input.pressPaste();
    pauseMilliseconds(1000);
    writing.input.pressUndo();
    pauseMilliseconds(1000);
    writing.hardware.type("b\n");
    const auto line = [&] {
        std::string text;
        std::ifstream file(writing.editor.file());
        std::getline(file, text);
        return text;
    };
    EXPECT_TRUE(eventually(10, [&] { return line() == "ab"; })) << line();
}

namespace {

/// Another layout on the keyboard of a private display, in a scope.
class KeyboardLayout {
public:
    KeyboardLayout(std::string display, const std::string& layout, const std::string& variant = {})
        : display_(std::move(display)) {
        use(layout, variant);
    }
    ~KeyboardLayout() { use("us", {}); }
    KeyboardLayout(const KeyboardLayout&) = delete;
    KeyboardLayout& operator=(const KeyboardLayout&) = delete;

private:
    void use(const std::string& layout, const std::string& variant) const {
        EXPECT_EQ(run({"setxkbmap", "-display", display_, "-layout", layout, "-variant", variant}), 0);
        // Programs need a moment to follow.
        pauseMilliseconds(1000);
    }

    const std::string display_;
};

} // namespace

TEST(SyntheticInputX11, FindsTheKeysInOtherLayouts) {
    for (const std::string layout : {"fr", "ru,us", "dvorak"}) {
        Writing writing(Program::mousepad);
        const bool isVariant = layout == "dvorak";
        {
            const KeyboardLayout other(writing.display.name(), isVariant ? "us" : layout,
                                       isVariant ? layout : "");
            writing.input.pressPaste();
            pauseMilliseconds(300);
            writing.input.pressPaste();
            pauseMilliseconds(300);
            writing.input.pressUndo();
            pauseMilliseconds(300);
        }
        EXPECT_TRUE(writing.editor.comesToHold(Writing::clipboardText, 15))
            << layout << ": " << writing.editor.savedText();
    }
}

namespace {

std::string nameOfLayout(const testing::TestParamInfo<std::tuple<Program, const char*>>& info) {
    const char* programs[] = {"Mousepad", "Featherpad", "Xterm", "Xfce4Terminal"};
    const auto [program, layout] = info.param;
    return std::string(programs[static_cast<int>(program)]) + layout;
}

} // namespace

class SyntheticInputWithoutLatinLetters : public testing::TestWithParam<std::tuple<Program, const char*>> {};

TEST_P(SyntheticInputWithoutLatinLetters, PastesAndCopies) {
    const auto [program, layout] = GetParam();
    Writing writing(program);
    const bool isTerminal = program == Program::xfce4Terminal;
    {
        const KeyboardLayout other(writing.display.name(), layout);
        writing.input.pressPaste();
        pauseMilliseconds(500);
    }
    EXPECT_TRUE(writing.editor.comesToHold(Writing::clipboardText, 15)) << writing.editor.savedText();
    EXPECT_EQ(writing.primaryOffers, isTerminal ? 1 : 0);
    EXPECT_FALSE(writing.hardware.isAnyKeyDown());
    if (isTerminal)
        return;
    writing.hardware.type("x");
    writing.hardware.chord(XK_Control_L, XK_a);
    pauseMilliseconds(300);
    const KeyboardLayout other(writing.display.name(), layout);
    writing.input.pressCopy();
    EXPECT_TRUE(eventually(10, [&] {
        return run({"sh", "-c",
                    "test \"$(timeout 2 xclip -selection clipboard -o)\" = '" +
                        std::string(Writing::clipboardText) + "x'"},
                   {{"DISPLAY", writing.display.name()}}) == 0;
    }));
}

INSTANTIATE_TEST_SUITE_P(All, SyntheticInputWithoutLatinLetters,
                         testing::Combine(testing::Values(Program::mousepad, Program::featherpad,
                                                          Program::xfce4Terminal),
                                          testing::Values("ru", "gr", "il")),
                         nameOfLayout);

namespace {

/// A window of a program that only its class identifies.
struct ProgramOfClass {
    explicit ProgramOfClass(const std::string& className)
        : window(display.name(), className) {}

    bool gets(unsigned long keysym, unsigned int modifiers) {
        const auto keycode = keyboard.keycodeOf(keysym);
        return eventually(5, [&] { return window.presses(keycode) == 1; }) &&
               (window.stateOfLastPress(keycode) &
                (XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1)) == modifiers;
    }
    /// Returns whether only modifier keys have arrived.
    bool receivesNoKey() {
        pauseMilliseconds(300);
        for (const auto keysym : {XK_v, XK_c, XK_z, XK_Insert, XK_minus, XK_u}) {
            if (window.presses(keyboard.keycodeOf(keysym)) != 0)
                return false;
        }
        return true;
    }

    PrivateDisplay display;
    runtime::SystemClock clock;
    TestKeyboard keyboard{display.name(), Source::xtest};
    KeyWindow window;
    int primaryOffers = 0;
    X11SyntheticInput input{clock, std::make_shared<SyntheticKeyLedger>(), [this] { ++primaryOffers; },
                            display.name()};
};

} // namespace

TEST(SyntheticInputX11, PastesAndUndoesInEmacsWithItsOwnKeys) {
    ProgramOfClass emacs("Emacs");
    emacs.input.pressCopy();
    EXPECT_TRUE(emacs.receivesNoKey());
    emacs.input.pressPaste();
    EXPECT_TRUE(emacs.gets(XK_Insert, XCB_MOD_MASK_SHIFT));
    EXPECT_EQ(emacs.primaryOffers, 0);
    emacs.input.pressUndo();
    EXPECT_TRUE(emacs.gets(XK_minus, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT));
    EXPECT_EQ(emacs.window.presses(emacs.keyboard.keycodeOf(XK_v)), 0);
    EXPECT_EQ(emacs.window.presses(emacs.keyboard.keycodeOf(XK_z)), 0);
}

TEST(SyntheticInputX11, PastesInGvimAndPressesNoUndo) {
    ProgramOfClass gvim("Gvim");
    gvim.input.pressCopy();
    gvim.input.pressUndo();
    EXPECT_TRUE(gvim.receivesNoKey());
    gvim.input.pressPaste();
    EXPECT_TRUE(gvim.gets(XK_Insert, XCB_MOD_MASK_SHIFT));
    EXPECT_EQ(gvim.primaryOffers, 1) << "it pastes PRIMARY";
}

TEST(SyntheticInputX11, NeverPressesControlCInAProgramNamedTerminal) {
    for (const std::string name : {"com.system76.CosmicTerm", "Blackterm"}) {
        ProgramOfClass terminal(name);
        terminal.input.pressCopy();
        EXPECT_TRUE(terminal.receivesNoKey()) << name;
        terminal.input.pressPaste();
        EXPECT_TRUE(terminal.gets(XK_v, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT)) << name;
        terminal.input.pressUndo();
        EXPECT_TRUE(terminal.gets(XK_minus, XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_SHIFT)) << name;
    }
}

TEST(SyntheticInputX11, PastesTwentyTimesWithoutBeingReported) {
    Writing writing(Program::mousepad, WindowManager::xfwm4);
    writing.hardware.tap(XK_Shift_L);
    ASSERT_TRUE(eventually(5, [&] { return writing.recorder.events().size() == 2; }));
    std::string expected;
    for (int i = 0; i < 20; ++i) {
        writing.input.pressPaste();
        pauseMilliseconds(50);
        expected += Writing::clipboardText;
    }
    EXPECT_TRUE(eventually(5, [&] { return !writing.hardware.isAnyKeyDown(); }));
    EXPECT_EQ(writing.recorder.events().size(), 2u);
    EXPECT_TRUE(writing.editor.comesToHold(expected, 15)) << writing.editor.savedText();
}

TEST(SyntheticInputX11, ReturnsWhileTheServerHangs) {
    PrivateDisplay display;
    const runtime::SystemClock clock;
    X11SyntheticInput input(clock, std::make_shared<SyntheticKeyLedger>(), {}, display.name());
    display.signalServer(SIGSTOP);
    const double before = monotonicSeconds();
    input.pressPaste();
    const double taken = monotonicSeconds() - before;
    display.signalServer(SIGCONT);
    EXPECT_GE(taken, 0.9);
    EXPECT_LT(taken, 3);
}

TEST(SyntheticInputX11, DoesNothingWithoutADisplay) {
    const runtime::SystemClock clock;
    X11SyntheticInput input(clock, std::make_shared<SyntheticKeyLedger>(), {}, ":9999");
    EXPECT_FALSE(input.isUsable());
    input.pressPaste();
    input.pressCopy();
    input.pressUndo();
}

} // namespace sonvale::tests
