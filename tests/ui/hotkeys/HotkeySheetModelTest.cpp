#include "ui/hotkeys/HotkeySheetModel.h"

#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/SettingsKeys.h"
#include "tests/unit/core/CoreFixture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace sonvale::ui {

namespace {

namespace keys = persistence::keys;
namespace modifier = platform::modifier;
using hotkeys::HotkeyAction;
using hotkeys::HotkeyBindings;
using hotkeys::HotkeyBindingStore;
using hotkeys::HotkeyConfiguration;
using Configs = std::vector<HotkeyConfiguration>;
using Strings = std::vector<std::string>;

const HotkeyConfiguration optionK{40, modifier::option, "Option + K"};
const HotkeyConfiguration commandAlone{-1, modifier::command, "Command"};

class HotkeySheetModelTest : public tests::CoreFixture {
protected:
    HotkeySheetModelTest() {
        QObject::connect(&model, &HotkeySheetModel::dismissed, [this] { ++dismissals; });
    }

    void capture(const HotkeyConfiguration& config) {
        model.capture(config.keyCode, config.modifiers, QString::fromStdString(config.displayName));
    }
    void start(const char* action, int index) { model.startRecording(QString::fromLatin1(action), index); }
    void remove(const char* action, int index) { model.remove(QString::fromLatin1(action), index); }
    static Strings pills(const QVariant& shortcut) {
        Strings result;
        for (const auto& pill : shortcut.value<ShortcutLine>().pills)
            result.push_back(pill.toStdString());
        return result;
    }
    const Configs& configsOf(HotkeyAction action) const { return model.store().at(action).configs; }
    void storeBindings(const HotkeyBindings& bindings) { HotkeyBindingStore::save(settings(), bindings); }

    tests::FakeNativeKeys nativeKeys;
    std::vector<HotkeyBindings> saved;
    int dismissals = 0;
    HotkeySheetModel model{settings(), nativeKeys,
                           [this](const HotkeyBindings& bindings) { saved.push_back(bindings); }};
};

} // namespace

TEST_F(HotkeySheetModelTest, BeginsWithTheStoredShortcutsAndRecordsNothing) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::cancel).configs = {optionK};
    storeBindings(bindings);
    model.open();
    EXPECT_EQ(model.store(), bindings);
    EXPECT_EQ(model.recordingAction(), std::nullopt);
    EXPECT_EQ(model.recordingIndex(), -1);
    EXPECT_EQ(model.conflictWarning(), std::nullopt);
}

TEST_F(HotkeySheetModelTest, ListsTheActionsInTheirOrder) {
    std::vector<std::string> lines;
    for (const auto& each : HotkeySheetModel::actions()) {
        const auto line = each.value<ActionLine>();
        lines.push_back(line.action.toStdString() + "|" + line.label.toStdString() + "|" +
                        line.subtitle.toStdString());
    }
    EXPECT_EQ(lines,
              (Strings{"pushToTalk|Push to Talk|Hold to say something short",
                       "handsFree|Hands-Free Mode|Press to start/stop dictation",
                       "commandMode|Command Mode|Select text and ask Son Vale to transform it",
                       "pasteLastTranscript|Paste Last Transcript|Re-paste the last thing you dictated",
                       "cancel|Cancel|Dismiss dictation and notifications"}));
}

TEST_F(HotkeySheetModelTest, DrawsEachShortcutByItsKeysInsteadOfItsStoredName) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::pasteLastTranscript).configs = {
        {9, modifier::option | modifier::command, "misleading"}, {27, 0, ""}};
    storeBindings(bindings);
    model.open();
    const auto shortcuts = model.shortcuts();
    ASSERT_EQ(shortcuts.size(), 5);
    const auto paste = shortcuts[3].toList();
    ASSERT_EQ(paste.size(), 2);
    EXPECT_EQ(pills(paste[0]), (Strings{"⌥ Opt", "⌘ Cmd", "V"}));
    EXPECT_EQ(paste[0].value<ShortcutLine>().name.toStdString(), "Option + Command + V");
    EXPECT_EQ(pills(paste[1]), Strings{"-"});
}

TEST_F(HotkeySheetModelTest, ReplacesTheShortcutThatIsRecordedAgain) {
    start("handsFree", 0);
    EXPECT_EQ(model.recordingAction(), HotkeyAction::handsFree);
    EXPECT_EQ(model.recordingActionName().toStdString(), "handsFree");
    capture(optionK);
    EXPECT_EQ(configsOf(HotkeyAction::handsFree), Configs{optionK});
    EXPECT_EQ(model.recordingAction(), std::nullopt);
    EXPECT_EQ(model.recordingActionName().toStdString(), "");
}

TEST_F(HotkeySheetModelTest, ReplacesOnlyTheShortcutAtTheIndex) {
    start("cancel", -1);
    capture(optionK);
    start("cancel", 1);
    capture(commandAlone);
    EXPECT_EQ(configsOf(HotkeyAction::cancel), (Configs{{53, 0, "Escape"}, commandAlone}));
}

TEST_F(HotkeySheetModelTest, AddsAShortcut) {
    start("cancel", -1);
    capture(commandAlone);
    EXPECT_EQ(configsOf(HotkeyAction::cancel), (Configs{{53, 0, "Escape"}, commandAlone}));
}

TEST_F(HotkeySheetModelTest, AddsAShortcutIfTheIndexHasNone) {
    for (const int index : {1, 7, -1, -5}) {
        model.open();
        start("cancel", index);
        capture(optionK);
        EXPECT_EQ(configsOf(HotkeyAction::cancel), (Configs{{53, 0, "Escape"}, optionK})) << index;
    }
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::cancel).configs.clear();
    storeBindings(bindings);
    model.open();
    start("cancel", 0);
    capture(optionK);
    EXPECT_EQ(configsOf(HotkeyAction::cancel), Configs{optionK});
}

TEST_F(HotkeySheetModelTest, WarnsAboutAConflictAndKeepsRecording) {
    const auto before = model.store();
    start("cancel", 0);
    capture({-1, modifier::option, "Option"});
    EXPECT_EQ(model.conflictWarning(), "Already used by Push to Talk");
    EXPECT_EQ(model.conflictWarningText().toStdString(), "Already used by Push to Talk");
    EXPECT_EQ(model.recordingAction(), HotkeyAction::cancel);
    EXPECT_EQ(model.store(), before);
    capture({49, modifier::option, "Option + Space"});
    EXPECT_EQ(model.conflictWarning(), "Already used by Hands-Free Mode");

    capture(optionK);
    EXPECT_EQ(configsOf(HotkeyAction::cancel), Configs{optionK});
    EXPECT_EQ(model.conflictWarning(), std::nullopt);
    EXPECT_EQ(model.recordingAction(), std::nullopt);
}

TEST_F(HotkeySheetModelTest, ChecksConflictsWithTheSheetInsteadOfTheStoredShortcuts) {
    start("pushToTalk", 0);
    capture(commandAlone);
    start("cancel", 0);
    capture({-1, modifier::option, "Option"});
    EXPECT_EQ(configsOf(HotkeyAction::cancel), (Configs{{-1, modifier::option, "Option"}}));
    start("handsFree", 0);
    capture(commandAlone);
    EXPECT_EQ(model.conflictWarning(), "Already used by Push to Talk");
}

TEST_F(HotkeySheetModelTest, AcceptsAShortcutThatTheSameActionHas) {
    start("pushToTalk", -1);
    capture({-1, modifier::option, "Option"});
    EXPECT_EQ(configsOf(HotkeyAction::pushToTalk), (Configs(2, {-1, modifier::option, "Option"})));
}

TEST_F(HotkeySheetModelTest, AcceptsAShortcutOfADisabledAction) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::pushToTalk).isEnabled = false;
    storeBindings(bindings);
    model.open();
    start("cancel", 0);
    capture({-1, modifier::option, "Option"});
    EXPECT_EQ(configsOf(HotkeyAction::cancel), (Configs{{-1, modifier::option, "Option"}}));
    EXPECT_FALSE(model.store().at(HotkeyAction::pushToTalk).isEnabled);
}

TEST_F(HotkeySheetModelTest, KeepsADisabledActionDisabled) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::cancel).isEnabled = false;
    storeBindings(bindings);
    model.open();
    start("cancel", 0);
    capture(optionK);
    EXPECT_FALSE(model.store().at(HotkeyAction::cancel).isEnabled);
}

TEST_F(HotkeySheetModelTest, MovesTheRecordingToAnotherActionAndClearsTheWarning) {
    start("cancel", 0);
    capture({-1, modifier::option, "Option"});
    start("commandMode", -1);
    EXPECT_EQ(model.recordingAction(), HotkeyAction::commandMode);
    EXPECT_EQ(model.recordingIndex(), -1);
    EXPECT_EQ(model.conflictWarning(), std::nullopt);
    capture(optionK);
    EXPECT_EQ(configsOf(HotkeyAction::commandMode).size(), 2U);
    EXPECT_EQ(configsOf(HotkeyAction::cancel), (Configs{{53, 0, "Escape"}}));
}

TEST_F(HotkeySheetModelTest, EndsRecordingWithoutAChange) {
    const auto before = model.store();
    start("handsFree", 0);
    capture({-1, modifier::option, "Option"});
    model.cancelRecording();
    EXPECT_EQ(model.recordingAction(), std::nullopt);
    EXPECT_EQ(model.conflictWarning(), std::nullopt);
    EXPECT_EQ(model.recordingIndex(), 0);
    EXPECT_EQ(model.store(), before);
}

TEST_F(HotkeySheetModelTest, IgnoresAKeyAfterTheRecording) {
    const auto before = model.store();
    capture(optionK);
    EXPECT_EQ(model.store(), before);
    EXPECT_EQ(model.conflictWarning(), std::nullopt);
}

TEST_F(HotkeySheetModelTest, RemovesAShortcutButNeverTheLastOne) {
    start("cancel", -1);
    capture(optionK);
    remove("cancel", 0);
    EXPECT_EQ(configsOf(HotkeyAction::cancel), Configs{optionK});
    remove("cancel", 0);
    EXPECT_EQ(configsOf(HotkeyAction::cancel), Configs{optionK});
}

TEST_F(HotkeySheetModelTest, DoesNothingForUnknownNamesAndIndices) {
    start("cancel", -1);
    capture(optionK);
    const auto before = model.store();
    for (const int index : {-1, 2, 100})
        remove("cancel", index);
    remove("nothing", 0);
    start("nothing", 0);
    EXPECT_EQ(model.recordingAction(), std::nullopt);
    EXPECT_EQ(model.store(), before);
}

TEST_F(HotkeySheetModelTest, ReturnsToTheDefaultsOnlyInTheSheet) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::cancel).configs = {optionK};
    storeBindings(bindings);
    model.open();
    start("handsFree", 0);
    capture({-1, modifier::option, "Option"});
    model.resetToDefault();
    EXPECT_EQ(model.store(), HotkeyBindingStore::defaults());
    EXPECT_EQ(model.recordingAction(), std::nullopt);
    EXPECT_EQ(model.conflictWarning(), std::nullopt);
    EXPECT_EQ(HotkeyBindingStore::load(settings()), bindings);
    EXPECT_EQ(dismissals, 0);
}

TEST_F(HotkeySheetModelTest, SavesThenCallsBackThenCloses) {
    start("cancel", 0);
    capture(optionK);
    EXPECT_FALSE(settings().stored(keys::hotkeyBindings));
    model.save();
    EXPECT_EQ(HotkeyBindingStore::load(settings()), model.store());
    ASSERT_EQ(saved.size(), 1U);
    EXPECT_EQ(saved[0].at(HotkeyAction::cancel).configs, Configs{optionK});
    EXPECT_EQ(dismissals, 1);
}

TEST_F(HotkeySheetModelTest, DropsAllChangesWhenCanceled) {
    start("cancel", 0);
    capture(optionK);
    model.cancel();
    EXPECT_EQ(dismissals, 1);
    EXPECT_TRUE(saved.empty());
    EXPECT_FALSE(settings().stored(keys::hotkeyBindings));
    model.open();
    EXPECT_EQ(model.store(), HotkeyBindingStore::defaults());
}

TEST_F(HotkeySheetModelTest, NotifiesItsViewOfEveryChange) {
    int stores = 0;
    int recordings = 0;
    QObject::connect(&model, &HotkeySheetModel::storeChanged, [&] { ++stores; });
    QObject::connect(&model, &HotkeySheetModel::recordingChanged, [&] { ++recordings; });
    start("cancel", 0);
    EXPECT_EQ(std::pair(stores, recordings), std::pair(0, 1));
    capture({-1, modifier::option, "Option"});
    EXPECT_EQ(std::pair(stores, recordings), std::pair(0, 2));
    capture(optionK);
    EXPECT_EQ(std::pair(stores, recordings), std::pair(1, 3));
}

using ApplyHotkeyBindings = tests::CoreFixture;

TEST_F(ApplyHotkeyBindings, ActivatesTheStoredShortcutsAtOnceWithoutASession) {
    completeOnboardingAndStart();
    const auto requestsBefore = network().requests().size();
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::handsFree).configs = {optionK};
    HotkeyBindingStore::save(settings(), bindings);
    state().applyHotkeyBindings();
    tap().runBlocks();
    const auto swallowable = tap().swallowable();
    EXPECT_NE(std::ranges::find(swallowable, platform::KeyCombination{40, modifier::option}),
              swallowable.end());
    EXPECT_EQ(std::ranges::find(swallowable, platform::KeyCombination{49, modifier::option}),
              swallowable.end());
    EXPECT_EQ(network().requests().size(), requestsBefore);
    EXPECT_TRUE(network().sockets().empty());
}

TEST_F(ApplyHotkeyBindings, MigratesTheOldSingleHotkeyFirst) {
    persistence::AppSettings record;
    record.hotkeyKeyCode = 40;
    record.hotkeyModifiers = static_cast<std::int64_t>(modifier::command);
    state().modelContext->insert(record);
    state().modelContext->save();
    state().applyHotkeyBindings();
    EXPECT_EQ(HotkeyBindingStore::load(settings()).at(HotkeyAction::pushToTalk).configs,
              (Configs{{40, modifier::command, "Command + K"}}));
    EXPECT_TRUE(settings().read(keys::hotkeyBindingsMigrated));
}

} // namespace sonvale::ui
