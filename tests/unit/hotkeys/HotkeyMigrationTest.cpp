#include "hotkeys/HotkeyMigration.h"

#include "hotkeys/HotkeyBindingStore.h"
#include "persistence/ModelContainer.h"
#include "persistence/Settings.h"
#include "persistence/Store.h"
#include "platform/EventTap.h"
#include "tests/support/ChildProcess.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace {

namespace keys = persistence::keys;
namespace modifier = platform::modifier;

class HotkeyMigrationTest : public testing::Test {
protected:
    void keepSingleHotkey(std::int64_t keyCode, std::int64_t modifiers) {
        persistence::AppSettings record;
        record.hotkeyKeyCode = keyCode;
        record.hotkeyModifiers = modifiers;
        store.insert(record);
        store.save();
    }

    HotkeyBinding pushToTalk() const {
        return HotkeyBindingStore::load(settings).at(HotkeyAction::pushToTalk);
    }
    bool isMigrated() const { return settings.read(keys::hotkeyBindingsMigrated); }
    bool isStored() const { return settings.has(keys::hotkeyBindings.name); }

    tests::TemporaryDirectory directory;
    persistence::Settings settings{std::filesystem::path(directory.path()) / "defaults.json"};
    std::unique_ptr<persistence::ModelContainer> container = persistence::ModelContainer::openInMemory();
    persistence::ModelContext& store = container->mainContext();
};

} // namespace

TEST_F(HotkeyMigrationTest, ReplacesTheOldDefaultByTheNewDefaults) {
    keepSingleHotkey(2, 0x80000);
    migrateHotkeyBindings(settings, &store);
    EXPECT_TRUE(isMigrated());
    EXPECT_FALSE(isStored());
}

TEST_F(HotkeyMigrationTest, ConvertsTheSingleHotkeyToPushToTalk) {
    keepSingleHotkey(49, 0x100000);
    migrateHotkeyBindings(settings, &store);
    EXPECT_TRUE(isMigrated());
    auto wanted = HotkeyBindingStore::defaults();
    wanted.at(HotkeyAction::pushToTalk).configs = {{49, modifier::command, "Command + Space"}};
    EXPECT_EQ(HotkeyBindingStore::load(settings), wanted);
}

TEST_F(HotkeyMigrationTest, KeepsTheStoredBindingsOfTheOtherActions) {
    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::pushToTalk) = {HotkeyAction::pushToTalk, {{96, 0, "F5"}, {97, 0, "F6"}}, false};
    bindings.at(HotkeyAction::cancel).isEnabled = false;
    HotkeyBindingStore::save(settings, bindings);
    keepSingleHotkey(2, 0x100000);
    migrateHotkeyBindings(settings, &store);

    bindings.at(HotkeyAction::pushToTalk) = {
        HotkeyAction::pushToTalk, {{2, modifier::command, "Command + D"}}, true};
    EXPECT_EQ(HotkeyBindingStore::load(settings), bindings);
}

TEST_F(HotkeyMigrationTest, ComparesKeyAndModifiersOfTheOldDefault) {
    keepSingleHotkey(3, 0x80000);
    migrateHotkeyBindings(settings, &store);
    EXPECT_EQ(pushToTalk().configs, (std::vector<HotkeyConfiguration>{{3, modifier::option, "Option + F"}}));
}

TEST_F(HotkeyMigrationTest, HappensOnce) {
    migrateHotkeyBindings(settings, &store);
    EXPECT_TRUE(isMigrated());
    keepSingleHotkey(49, 0x100000);
    migrateHotkeyBindings(settings, &store);
    EXPECT_FALSE(isStored());
}

TEST_F(HotkeyMigrationTest, WaitsForTheStore) {
    migrateHotkeyBindings(settings, nullptr);
    EXPECT_FALSE(isMigrated());
    keepSingleHotkey(49, 0x100000);
    migrateHotkeyBindings(settings, &store);
    EXPECT_TRUE(isMigrated());
    EXPECT_EQ(pushToTalk().configs.front().keyCode, 49);
}

TEST_F(HotkeyMigrationTest, TreatsAnUnreadableStoreAsOneWithoutTheRecord) {
    auto damaged = persistence::Store::openInMemory();
    damaged->database().exec("DROP TABLE AppSettings");
    persistence::ModelContext context(std::move(damaged));
    migrateHotkeyBindings(settings, &context);
    EXPECT_TRUE(isMigrated());
    EXPECT_FALSE(isStored());
}

TEST_F(HotkeyMigrationTest, UsesTheFirstOfSeveralRecords) {
    keepSingleHotkey(49, 0x100000);
    keepSingleHotkey(0, 0x100000);
    migrateHotkeyBindings(settings, &store);
    EXPECT_EQ(pushToTalk().configs.front().keyCode, 49);
}

TEST_F(HotkeyMigrationTest, KeepsTheBitsOfNegativeModifiers) {
    keepSingleHotkey(49, -1);
    migrateHotkeyBindings(settings, &store);
    EXPECT_EQ(pushToTalk().configs.front().modifiers, ~std::uint64_t{0});
}

} // namespace sonvale::hotkeys
