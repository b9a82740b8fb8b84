#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/SettingsKeys.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestKeyboard.h"
#include "tests/ui/common/DesktopProbe.h"
#include "tests/ui/common/ViewFixture.h"

#include <X11/keysym.h>
#include <gtest/gtest.h>

#include <QAccessible>
#include <QTest>
#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
namespace modifier = platform::modifier;
using hotkeys::HotkeyAction;
using hotkeys::HotkeyBindings;
using hotkeys::HotkeyBindingStore;
using hotkeys::HotkeyConfiguration;
using tests::eventuallyInQt;
using Strings = std::vector<std::string>;
using Configs = std::vector<HotkeyConfiguration>;

/// Remaps keys of the display by an option of its keyboard layout.
class ExchangedKeys {
public:
    explicit ExchangedKeys(const std::string& option) {
        if (tests::run({"setxkbmap", "-option", option}) != 0)
            throw std::runtime_error("the keys could not be exchanged");
    }
    ~ExchangedKeys() { tests::run({"setxkbmap", "-option", ""}); }
    ExchangedKeys(const ExchangedKeys&) = delete;
    ExchangedKeys& operator=(const ExchangedKeys&) = delete;
};

/// The open sheet, and a real keyboard.
class HotkeySheet : public tests::ViewFixture {
protected:
    HotkeySheet() { views().appearance().overrideMotionReduced(true); }

    QQuickView& openSheet() {
        startSignedIn();
        auto& view = openDashboard();
        click(view, "sidebar.settings");
        item(view, "changeHotkeys").forceActiveFocus(Qt::TabFocusReason);
        press(view, Qt::Key_Space);
        EXPECT_TRUE(eventuallyInQt(10, [&] {
            settleViews();
            return isShown(view, "sheet") && focused(view) == "edit";
        })) << focused(view);
        return view;
    }
    bool isGone(QQuickView& view) {
        return eventuallyInQt(10, [&] {
            settleViews();
            return !isShown(view, "sheet");
        });
    }

    static QQuickItem& row(QQuickView& view, const std::string& action) {
        return item(view, "row." + action);
    }
    static QQuickItem* findIn(QQuickItem& from, const std::string& name) {
        if (!from.isVisible())
            return nullptr;
        if (from.objectName().toStdString() == name)
            return &from;
        for (auto* child : from.childItems()) {
            if (auto* found = findIn(*child, name))
                return found;
        }
        return nullptr;
    }
    static Strings textsIn(QQuickItem& from) {
        Strings texts;
        collect(from, texts);
        return texts;
    }
    void clickIn(QQuickView& view, const std::string& action, const std::string& name,
                 Qt::MouseButton button = Qt::LeftButton) {
        auto* target = findIn(row(view, action), name);
        ASSERT_TRUE(target) << action << " " << name;
        scrollTo(view, *target);
        QTest::mouseClick(&view, button, {},
                          target->mapToScene(QPointF(target->width() / 2, target->height() / 2)).toPoint());
        settleViews();
    }
    /// Starts a recording as the user does, and waits for the recorder.
    void record(QQuickView& view, const std::string& action, const std::string& control = "edit") {
        clickIn(view, action, control);
        ASSERT_TRUE(eventuallyInQt(10, [&] { return hasKeyboard(view, action); })) << focused(view);
    }
    static bool isRecording(QQuickView& view, const std::string& action) {
        return findIn(row(view, action), "recordingLine") != nullptr;
    }
    static bool hasKeyboard(QQuickView& view, const std::string& action) {
        const auto* recorder = findIn(row(view, action), "recorder");
        return recorder && recorder->hasActiveFocus();
    }
    static std::string warning(QQuickView& view, const std::string& action) {
        auto* found = findIn(row(view, action), "conflictWarning");
        return found ? found->property("text").toString().toStdString() : std::string();
    }
    template <class Condition>
    bool comesToBe(Condition condition) {
        return eventuallyInQt(10, [&] {
            settleViews();
            return condition();
        });
    }
    bool comesToShow(QQuickView& view, const std::string& action, const Strings& pills) {
        return comesToBe([&] { return !isRecording(view, action) && pillsOf(view, action) == pills; });
    }
    /// Returns the key caps of all shortcuts in their order.
    static Strings pillsOf(QQuickView& view, const std::string& action) {
        Strings pills;
        for (int i = 0; auto* pill = findIn(row(view, action), "pill." + std::to_string(i)); ++i)
            collect(*pill, pills);
        return pills;
    }
    Configs stored(HotkeyAction action) { return HotkeyBindingStore::load(settings()).at(action).configs; }

    tests::TestKeyboard keyboard{std::getenv("DISPLAY"), tests::TestKeyboard::Source::xtest};

private:
    void scrollTo(QQuickView& view, QQuickItem& target) {
        target.forceActiveFocus();
        settleViews();
        ASSERT_TRUE(QRectF(QPointF(), view.size()).contains(target.mapRectToScene(target.boundingRect())));
    }
    static void collect(QQuickItem& from, Strings& texts) {
        if (!from.isVisible())
            return;
        if (from.inherits("QQuickText"))
            texts.push_back(from.property("text").toString().toStdString());
        for (auto* child : from.childItems())
            collect(*child, texts);
    }
};

} // namespace

TEST_F(HotkeySheet, ShowsEveryActionWithItsShortcuts) {
    auto& view = openSheet();
    EXPECT_EQ(text(view, "sheetTitle"), "Change Hotkeys");
    EXPECT_EQ(text(view, "sheetSubtitle"), "Customize keyboard shortcuts for each action");
    const std::pair<const char*, Strings> rows[] = {
        {"pushToTalk", {"Push to Talk", "Hold to say something short", "⌥ Opt", "Add another shortcut"}},
        {"handsFree",
         {"Hands-Free Mode", "Press to start/stop dictation", "⌥ Opt", "Space", "Add another shortcut"}},
        {"commandMode",
         {"Command Mode", "Select text and ask Son Vale to transform it", "⌥ Opt", "=",
          "Add another shortcut"}},
        {"pasteLastTranscript",
         {"Paste Last Transcript", "Re-paste the last thing you dictated", "⌥ Opt", "⌘ Cmd", "V",
          "Add another shortcut"}},
        {"cancel", {"Cancel", "Dismiss dictation and notifications", "⎋ Esc", "Add another shortcut"}},
    };
    double above = 0;
    for (const auto& [action, texts] : rows) {
        EXPECT_EQ(textsIn(row(view, action)), texts);
        const double y = row(view, action).mapToScene(QPointF()).y();
        EXPECT_GT(y, above);
        above = y;
    }
    EXPECT_EQ(text(view, "reset"), "Reset to Default");
    EXPECT_EQ(text(view, "cancel"), "Cancel");
    EXPECT_EQ(text(view, "save"), "Save");
}

TEST_F(HotkeySheet, RecordsACombinationInPlaceOfTheFirstShortcut) {
    auto& view = openSheet();
    record(view, "handsFree");
    EXPECT_EQ(textsIn(row(view, "handsFree")), (Strings{"Hands-Free Mode", "Press to start/stop dictation",
                                                        "Press shortcut… (Esc to cancel)"}));
    keyboard.tap(XK_F5);
    EXPECT_TRUE(comesToShow(view, "handsFree", {"F5"}));
    EXPECT_FALSE(settings().stored(keys::hotkeyBindings));
}

TEST_F(HotkeySheet, RecordsALeftOrRightModifierWhenItIsPressed) {
    for (const auto& [keysym, pill] : {std::pair(XK_Control_L, "⌃ Ctrl"), std::pair(XK_Control_R, "⌃ Ctrl"),
                                       std::pair(XK_Shift_L, "⇧ Shift"), std::pair(XK_Shift_R, "⇧ Shift"),
                                       std::pair(XK_Super_L, "⌘ Cmd"), std::pair(XK_Super_R, "⌘ Cmd")}) {
        auto& view = openSheet();
        record(view, "cancel");
        keyboard.down(keysym);
        EXPECT_TRUE(comesToShow(view, "cancel", {pill})) << pill;
        keyboard.up(keysym);
    }
    auto& view = openSheet();
    record(view, "pushToTalk");
    keyboard.down(XK_Alt_R);
    EXPECT_TRUE(comesToShow(view, "pushToTalk", {"⌥ Opt"}));
    keyboard.up(XK_Alt_R);
}

TEST_F(HotkeySheet, WarnsAboutAConflictAndThenAcceptsALetter) {
    auto& view = openSheet();
    record(view, "cancel");
    keyboard.down(XK_Alt_L);
    EXPECT_TRUE(comesToBe([&] { return warning(view, "cancel") == "Already used by Push to Talk"; }));
    EXPECT_TRUE(isRecording(view, "cancel"));
    EXPECT_TRUE(outside(view).empty());
    keyboard.tap(XK_k);
    EXPECT_TRUE(comesToShow(view, "cancel", {"⌥ Opt", "K"}));
    keyboard.up(XK_Alt_L);
    EXPECT_EQ(warning(view, "cancel"), "");
}

TEST_F(HotkeySheet, RecordsLettersByTheirPlaceWithEveryHeldModifier) {
    auto& view = openSheet();
    record(view, "commandMode");
    keyboard.down(XK_Alt_L);
    ASSERT_TRUE(comesToBe([&] { return !warning(view, "commandMode").empty(); }));
    for (const auto key : {XK_Shift_L, XK_Control_L, XK_Super_L})
        keyboard.down(key);
    keyboard.tap(XK_a);
    EXPECT_TRUE(comesToShow(view, "commandMode", {"⌃ Ctrl", "⌥ Opt", "⇧ Shift", "⌘ Cmd", "A"}));
    for (const auto key : {XK_Super_L, XK_Control_L, XK_Shift_L, XK_Alt_L})
        keyboard.up(key);
    EXPECT_TRUE(outside(view).empty());
}

TEST_F(HotkeySheet, RecordsKeysThatOtherwiseControlAWindow) {
    for (const auto& [keysym, pill] :
         {std::pair(XK_Tab, "⇥"), std::pair(XK_Return, "↵"), std::pair(XK_space, "Space")}) {
        auto& view = openSheet();
        record(view, "cancel");
        keyboard.tap(keysym);
        EXPECT_TRUE(comesToShow(view, "cancel", {pill}));
    }
}

TEST_F(HotkeySheet, IgnoresKeysThatCannotBeAShortcut) {
    auto& view = openSheet();
    record(view, "cancel");
    keyboard.tap(XK_Caps_Lock);
    keyboard.tap(XK_Caps_Lock);
    keyboard.tap(XK_F9); // the test's keyboard has no key code for it
    keyboard.tap(XK_q);
    EXPECT_TRUE(comesToShow(view, "cancel", {"Q"}));
}

TEST_F(HotkeySheet, TheFirstEscapeEndsTheRecordingAndTheNextClosesTheSheet) {
    auto& view = openSheet();
    record(view, "cancel");
    keyboard.tap(XK_Escape);
    ASSERT_TRUE(comesToShow(view, "cancel", {"⎋ Esc"}));
    EXPECT_TRUE(isShown(view, "sheet"));
    EXPECT_TRUE(findIn(row(view, "cancel"), "edit")->hasActiveFocus());
    keyboard.tap(XK_Escape);
    EXPECT_TRUE(isGone(view));
    EXPECT_EQ(focused(view), "changeHotkeys");
}

TEST_F(HotkeySheet, TheKeyWithTheMeaningOfEscapeEndsTheRecording) {
    const ExchangedKeys exchanged("caps:swapescape");
    auto& view = openSheet();
    record(view, "cancel");
    constexpr unsigned int capsLockKey = 66;
    constexpr unsigned int escapeKey = 9;
    keyboard.downKeycode(escapeKey);
    keyboard.upKeycode(escapeKey);
    keyboard.downKeycode(escapeKey);
    keyboard.upKeycode(escapeKey);
    settleViews();
    EXPECT_TRUE(isRecording(view, "cancel")) << "Caps Lock is no shortcut, wherever it is";
    keyboard.downKeycode(capsLockKey);
    keyboard.upKeycode(capsLockKey);
    ASSERT_TRUE(comesToShow(view, "cancel", {"⎋ Esc"}));
    EXPECT_TRUE(isShown(view, "sheet"));
}

TEST_F(HotkeySheet, EscapeEndsTheRecordingWithTheFocusElsewhere) {
    auto& view = openSheet();
    record(view, "cancel");
    item(view, "save").forceActiveFocus(Qt::TabFocusReason);
    keyboard.tap(XK_Escape);
    EXPECT_TRUE(comesToShow(view, "cancel", {"⎋ Esc"}));
    EXPECT_TRUE(isShown(view, "sheet"));
}

TEST_F(HotkeySheet, AClickReturnsTheKeyboardToTheRecorder) {
    auto& view = openSheet();
    record(view, "handsFree");
    item(view, "save").forceActiveFocus();
    clickIn(view, "handsFree", "recordingLine");
    keyboard.tap(XK_F5);
    EXPECT_TRUE(comesToShow(view, "handsFree", {"F5"}));
}

TEST_F(HotkeySheet, MovesTheRecordingToAnotherAction) {
    auto& view = openSheet();
    record(view, "cancel");
    record(view, "handsFree");
    EXPECT_FALSE(isRecording(view, "cancel"));
    keyboard.tap(XK_F5);
    EXPECT_TRUE(comesToShow(view, "handsFree", {"F5"}));
    EXPECT_EQ(pillsOf(view, "cancel"), Strings{"⎋ Esc"});
}

TEST_F(HotkeySheet, AddsAShortcutAndRemovesOneByItsMenu) {
    auto& view = openSheet();
    clickIn(view, "cancel", "pill.0", Qt::RightButton);
    ASSERT_TRUE(comesToBe([&] { return isShown(view, "reRecord"); }));
    EXPECT_EQ(text(view, "reRecord"), "Re-record");
    EXPECT_FALSE(isShown(view, "remove")) << "it is the last one";
    press(view, Qt::Key_Escape);
    ASSERT_TRUE(comesToBe([&] { return !isShown(view, "reRecord"); }));
    EXPECT_TRUE(isShown(view, "sheet"));

    record(view, "cancel", "add");
    keyboard.tap(XK_F5);
    ASSERT_TRUE(comesToShow(view, "cancel", {"⎋ Esc", "F5"}));

    clickIn(view, "cancel", "pill.0", Qt::RightButton);
    ASSERT_TRUE(comesToBe([&] { return isShown(view, "remove"); }));
    EXPECT_EQ(text(view, "remove"), "Remove");
    click(view, "remove");
    EXPECT_TRUE(comesToShow(view, "cancel", {"F5"}));
}

TEST_F(HotkeySheet, RecordsTheShortcutOfTheMenuAgain) {
    auto& view = openSheet();
    record(view, "cancel", "add");
    keyboard.tap(XK_F5);
    ASSERT_TRUE(comesToShow(view, "cancel", {"⎋ Esc", "F5"}));
    clickIn(view, "cancel", "pill.1", Qt::RightButton);
    ASSERT_TRUE(comesToBe([&] { return isShown(view, "reRecord"); }));
    click(view, "reRecord");
    ASSERT_TRUE(comesToBe([&] { return hasKeyboard(view, "cancel"); })) << focused(view);
    keyboard.tap(XK_x);
    EXPECT_TRUE(comesToShow(view, "cancel", {"⎋ Esc", "X"}));
}

TEST_F(HotkeySheet, OpensTheMenuByTheKeyboard) {
    auto& view = openSheet();
    for (const auto& open :
         {std::function([&] { keyboard.tap(XK_Menu); }),
          std::function([&] { keyboard.chord(XK_Shift_L, XK_F10); }),
          std::function([&] { keyboard.tap(XK_Return); }), std::function([&] { keyboard.tap(XK_space); })}) {
        findIn(row(view, "cancel"), "pill.0")->forceActiveFocus(Qt::TabFocusReason);
        open();
        ASSERT_TRUE(comesToBe([&] { return isShown(view, "reRecord"); }));
        keyboard.tap(XK_Escape);
        ASSERT_TRUE(comesToBe([&] { return !isShown(view, "reRecord"); }));
        EXPECT_EQ(focused(view), "pill.0");
    }
    keyboard.tap(XK_Menu);
    ASSERT_TRUE(comesToBe([&] { return isShown(view, "reRecord"); }));
    keyboard.tap(XK_Down);
    keyboard.tap(XK_Return);
    ASSERT_TRUE(comesToBe([&] { return hasKeyboard(view, "cancel"); })) << focused(view);
    keyboard.tap(XK_x);
    EXPECT_TRUE(comesToShow(view, "cancel", {"X"}));
}

TEST_F(HotkeySheet, SavesAndUsesTheShortcutsAtOnce) {
    auto& view = openSheet();
    record(view, "handsFree");
    keyboard.tap(XK_F5);
    ASSERT_TRUE(comesToShow(view, "handsFree", {"F5"}));
    click(view, "save");
    EXPECT_TRUE(isGone(view));
    EXPECT_EQ(stored(HotkeyAction::handsFree), (Configs{{96, 0, "F5"}}));
    tap().runBlocks();
    const auto swallowable = tap().swallowable();
    EXPECT_NE(std::ranges::find(swallowable, platform::KeyCombination{96, 0}), swallowable.end());
    EXPECT_EQ(std::ranges::find(swallowable, platform::KeyCombination{49, modifier::option}),
              swallowable.end());
    EXPECT_EQ(focused(view), "changeHotkeys");
}

TEST_F(HotkeySheet, DropsUnsavedChanges) {
    for (const auto* way : {"cancel", "closeSheet", "Escape"}) {
        auto& view = openSheet();
        record(view, "handsFree");
        keyboard.tap(XK_F5);
        ASSERT_TRUE(comesToShow(view, "handsFree", {"F5"}));
        if (way == std::string("Escape"))
            keyboard.tap(XK_Escape);
        else
            click(view, way);
        EXPECT_TRUE(isGone(view)) << way;
        EXPECT_FALSE(settings().stored(keys::hotkeyBindings)) << way;
        press(view, Qt::Key_Space);
        ASSERT_TRUE(comesToBe([&] { return isShown(view, "sheet"); })) << way;
        EXPECT_EQ(pillsOf(view, "handsFree"), (Strings{"⌥ Opt", "Space"})) << way;
    }
}

TEST_F(HotkeySheet, ReturnsToTheDefaultsOnceSaved) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::cancel).configs = {{0, 0, "A"}, {1, 0, "S"}};
    HotkeyBindingStore::save(settings(), bindings);
    auto& view = openSheet();
    EXPECT_EQ(pillsOf(view, "cancel"), (Strings{"A", "S"}));
    record(view, "cancel");
    click(view, "reset");
    EXPECT_TRUE(comesToShow(view, "cancel", {"⎋ Esc"}));
    EXPECT_EQ(stored(HotkeyAction::cancel).size(), 2U);
    click(view, "save");
    EXPECT_TRUE(isGone(view));
    EXPECT_EQ(stored(HotkeyAction::cancel), (Configs{{53, 0, "Escape"}}));
}

TEST_F(HotkeySheet, KeepsTheKeyboardInsideAndNamesEveryControl) {
    auto& view = openSheet();
    auto* sheet = find(view, "sheet");
    Strings order;
    for (int i = 0; i < 19; ++i) {
        auto* focusItem = view.activeFocusItem();
        ASSERT_TRUE(focusItem && sheet->isAncestorOf(focusItem)) << focused(view);
        auto* accessible = QAccessible::queryAccessibleInterface(focusItem);
        ASSERT_TRUE(accessible) << focused(view);
        EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty()) << focused(view);
        EXPECT_TRUE(
            QRectF(QPointF(), view.size()).contains(focusItem->mapRectToScene(focusItem->boundingRect())))
            << focused(view);
        order.push_back(focused(view));
        keyboard.tap(XK_Tab);
        ASSERT_TRUE(eventuallyInQt(10, [&] { return view.activeFocusItem() != focusItem; })) << focused(view);
        settleViews();
    }
    EXPECT_EQ(order,
              (Strings{"edit", "add", "pill.0", "edit", "add", "pill.0", "edit", "add", "pill.0", "edit",
                       "add", "pill.0", "edit", "add", "reset", "cancel", "save", "closeSheet", "pill.0"}));
    EXPECT_EQ(focused(view), "edit");
    EXPECT_TRUE(findIn(row(view, "pushToTalk"), "edit")->hasActiveFocus());
}

TEST_F(HotkeySheet, FitsIntoTheSmallestWindowWithMoreShortcutsThanRoom) {
    auto bindings = HotkeyBindingStore::defaults();
    for (auto& [action, binding] : bindings)
        binding.configs.resize(12, {11, modifier::mask, "everything"});
    HotkeyBindingStore::save(settings(), bindings);
    auto& view = openSheet();
    resize(view, QSize(800, 600));
    const auto room = [&] {
        auto* sheet = find(view, "sheet");
        return sheet->mapRectToScene(sheet->boundingRect());
    };
    ASSERT_TRUE(comesToBe([&] { return QRectF(QPointF(), view.size()).contains(room()); }));
    for (const auto* action : {"pushToTalk", "cancel"}) {
        auto* pill = findIn(row(view, action), "pill.11");
        const auto place = pill->mapRectToScene(pill->boundingRect());
        EXPECT_GE(place.left(), room().left());
        EXPECT_LE(place.right(), room().right());
    }
    findIn(row(view, "cancel"), "add")->forceActiveFocus(Qt::TabFocusReason);
    settleViews();
    const auto place = [&] {
        auto* add = findIn(row(view, "cancel"), "add");
        return add->mapRectToScene(add->boundingRect());
    };
    EXPECT_LT(place().bottom(), item(view, "save").mapToScene(QPointF()).y());
}

TEST_F(HotkeySheet, IsMirroredFromRightToLeft) {
    QGuiApplication::setLayoutDirection(Qt::RightToLeft);
    auto& view = openSheet();
    EXPECT_LT(item(view, "save").mapToScene(QPointF()).x(), item(view, "reset").mapToScene(QPointF()).x());
    auto& line = row(view, "handsFree");
    EXPECT_LT(findIn(line, "edit")->mapToScene(QPointF()).x(),
              findIn(line, "pill.0")->mapToScene(QPointF()).x());
    EXPECT_LT(findIn(line, "pill.0")->mapToScene(QPointF()).x(),
              findIn(line, "label")->mapToScene(QPointF()).x());
    EXPECT_EQ(outside(view), Strings{});
    closeDashboard();
    QGuiApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(HotkeySheet, NotifiesAssistiveTechnologyOfTheRecordingAndTheWarning) {
    auto& view = openSheet();
    auto* edit = QAccessible::queryAccessibleInterface(findIn(row(view, "cancel"), "edit"));
    ASSERT_TRUE(edit);
    EXPECT_EQ(edit->text(QAccessible::Name), QStringLiteral("Edit the shortcut of Cancel"));
    auto* pill = QAccessible::queryAccessibleInterface(findIn(row(view, "handsFree"), "pill.0"));
    ASSERT_TRUE(pill);
    EXPECT_EQ(pill->text(QAccessible::Name), QStringLiteral("Option + Space"));
    EXPECT_EQ(pill->text(QAccessible::Description), QStringLiteral("Hands-Free Mode"));
    edit->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    ASSERT_TRUE(comesToBe([&] { return hasKeyboard(view, "cancel"); }));
    auto* recorder = QAccessible::queryAccessibleInterface(findIn(row(view, "cancel"), "recorder"));
    ASSERT_TRUE(recorder);
    EXPECT_EQ(recorder->text(QAccessible::Name), QStringLiteral("Press shortcut… (Esc to cancel)"));
    keyboard.tap(XK_Alt_L);
    ASSERT_TRUE(comesToBe([&] { return !warning(view, "cancel").empty(); }));
    auto* accessible = QAccessible::queryAccessibleInterface(findIn(row(view, "cancel"), "conflictWarning"));
    ASSERT_TRUE(accessible);
    EXPECT_EQ(accessible->role(), QAccessible::AlertMessage);
}

} // namespace sonvale::ui
