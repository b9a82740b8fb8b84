#include "hotkeys/HotkeyBindingStore.h"

#include "persistence/Settings.h"
#include "platform/EventTap.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

namespace sonvale::hotkeys {

namespace {

namespace keys = persistence::keys;
namespace modifier = platform::modifier;
using nlohmann::json;

json binding(const std::string& action, json configs = json::array(), json isEnabled = true) {
    return {{"action", action}, {"configs", std::move(configs)}, {"isEnabled", std::move(isEnabled)}};
}

json config(json keyCode, json modifiers, json displayName) {
    return {{"keyCode", std::move(keyCode)},
            {"modifiers", std::move(modifiers)},
            {"displayName", std::move(displayName)}};
}

json store(json pairs) {
    return {{"bindings", std::move(pairs)}};
}

json without(json object, const std::string& key) {
    object.erase(key);
    return object;
}

/// Returns a store with one binding of one shortcut.
json storeWith(json entry) {
    return store({"cancel", binding("cancel", json::array({std::move(entry)}))});
}

/// A binding that is valid.
const json whole = binding("cancel", json::array({config(96, 0, "F5")}));

class HotkeyBindingStoreTest : public testing::Test {
protected:
    /// Expects that the defaults are loaded in place of `text`, which stays as it is.
    void expectDefaults(const std::string& text) {
        put(text);
        EXPECT_EQ(load(), HotkeyBindingStore::defaults()) << text.substr(0, 200);
        EXPECT_EQ(settings.stored(keys::hotkeyBindings)->bytes, text);
    }

    void put(const std::string& bytes) { settings.set(keys::hotkeyBindings, {bytes}); }
    HotkeyBindings load() const { return HotkeyBindingStore::load(settings); }

    tests::TemporaryDirectory directory;
    persistence::Settings settings{std::filesystem::path(directory.path()) / "defaults.json"};
};

} // namespace

TEST(HotkeyBindingStore, HasOneEnabledShortcutForEachAction) {
    const auto defaults = HotkeyBindingStore::defaults();
    struct Row {
        HotkeyAction action;
        HotkeyConfiguration config;
    };
    const std::vector<Row> rows{
        {HotkeyAction::pushToTalk, {-1, 0x80000, "Option"}},
        {HotkeyAction::handsFree, {49, 0x80000, "Option + Space"}},
        {HotkeyAction::commandMode, {24, 0x80000, "Option + ="}},
        {HotkeyAction::pasteLastTranscript, {9, 0x180000, "Command + Option + V"}},
        {HotkeyAction::cancel, {53, 0, "Escape"}},
    };
    ASSERT_EQ(defaults.size(), rows.size());
    for (const auto& [action, config] : rows)
        EXPECT_EQ(defaults.at(action), (HotkeyBinding{action, {config}, true}));
}

TEST_F(HotkeyBindingStoreTest, LoadsTheDefaultsIfNothingIsStored) {
    EXPECT_EQ(load(), HotkeyBindingStore::defaults());
    EXPECT_FALSE(settings.has(keys::hotkeyBindings.name));
}

TEST_F(HotkeyBindingStoreTest, LoadsSavedBindings) {
    HotkeyBindings bindings = HotkeyBindingStore::defaults();
    bindings[HotkeyAction::pushToTalk].configs = {
        {96, 0, "F5"},
        {-1, modifier::control, "„Strg“ \"quoted\" \\"},
        {std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::uint64_t>::max(), ""}};
    bindings[HotkeyAction::cancel].isEnabled = false;
    bindings[HotkeyAction::commandMode].configs.clear();
    HotkeyBindingStore::save(settings, bindings);
    EXPECT_EQ(load(), bindings);
}

TEST_F(HotkeyBindingStoreTest, StoresActionsAndBindingsInTurn) {
    HotkeyBindingStore::save(settings,
                             {{HotkeyAction::cancel, {HotkeyAction::cancel, {{53, 0, "Escape"}}, true}},
                              {HotkeyAction::handsFree, {HotkeyAction::handsFree, {}, false}}});
    EXPECT_EQ(json::parse(settings.stored(keys::hotkeyBindings)->bytes),
              store({"handsFree", binding("handsFree", json::array(), false), "cancel",
                     binding("cancel", json::array({config(53, 0, "Escape")}))}));
}

TEST_F(HotkeyBindingStoreTest, KeepsTheDefaultOfAnActionThatIsNotStored) {
    put(store({"pushToTalk", binding("pushToTalk", json::array({config(96, 0, "F5")}))}).dump());
    auto wanted = HotkeyBindingStore::defaults();
    wanted.at(HotkeyAction::pushToTalk).configs = {{96, 0, "F5"}};
    EXPECT_EQ(load(), wanted);
}

TEST_F(HotkeyBindingStoreTest, KeepsAStoredBindingWithoutShortcutsAsItIs) {
    put(store({"cancel", binding("cancel")}).dump());
    EXPECT_TRUE(load().at(HotkeyAction::cancel).configs.empty());
}

TEST_F(HotkeyBindingStoreTest, AcceptsThePairsInAnyOrderAndIgnoresFurtherKeys) {
    auto extended = binding("pushToTalk", json::array({config(96, 0, "F5")}));
    extended["colour"] = "blue";
    extended["configs"][0]["note"] = json::object();
    auto root = store({"cancel", binding("cancel"), "pushToTalk", extended});
    root["version"] = 2;
    put(root.dump());
    EXPECT_EQ(load().at(HotkeyAction::pushToTalk).configs, (std::vector<HotkeyConfiguration>{{96, 0, "F5"}}));
    EXPECT_TRUE(load().at(HotkeyAction::cancel).configs.empty());
}

TEST_F(HotkeyBindingStoreTest, AcceptsWholeNumbersInAnyNotation) {
    put(R"({"bindings": ["cancel", {"action": "cancel", "isEnabled": true, "configs": [
        {"keyCode": -1, "modifiers": 18446744073709551615, "displayName": ""},
        {"keyCode": -9223372036854775808, "modifiers": 0, "displayName": ""},
        {"keyCode": 49.0, "modifiers": 5.24288e5, "displayName": ""}]}]})");
    EXPECT_EQ(load().at(HotkeyAction::cancel).configs,
              (std::vector<HotkeyConfiguration>{{-1, std::numeric_limits<std::uint64_t>::max(), ""},
                                                {std::numeric_limits<std::int64_t>::min(), 0, ""},
                                                {49, modifier::option, ""}}));
}

TEST_F(HotkeyBindingStoreTest, UsesTheLastOfTwoBindingsOfAnAction) {
    put(store({"cancel", binding("cancel"), "cancel", binding("cancel", json::array({config(96, 0, "F5")}))})
            .dump());
    EXPECT_EQ(load().at(HotkeyAction::cancel).configs, (std::vector<HotkeyConfiguration>{{96, 0, "F5"}}));
}

TEST_F(HotkeyBindingStoreTest, LoadsTheDefaultsIfTheTextIsNotJson) {
    const std::vector<std::string> texts{
        "",
        " ",
        "{",
        "not json",
        "{\"bindings\": []} more",
        "\xff",
        "[1,]",
        R"({"bindings": ["cancel", {"action": "cancel", "isEnabled": true, "configs": [
                                       {"keyCode": 1e999, "modifiers": 0, "displayName": ""}]}]})",
        std::string(100000, '[')};
    for (const auto& text : texts)
        expectDefaults(text);
}

TEST_F(HotkeyBindingStoreTest, LoadsTheDefaultsIfTheStoreHasAnotherForm) {
    const std::vector<json> stores{
        nullptr,
        17,
        "pushToTalk",
        json::array(),
        json::object(),
        {{"Bindings", json::array()}},
        store(nullptr),
        store(json::object()),
        store({{"cancel", whole}}),
        store({"cancel"}),
        store({"cancel", whole, "handsFree"}),
        store({"cancel", whole, "handsFree", "commandMode"}),
        store({whole, "cancel"}),
        store({"undo", whole}),
        store({"Cancel", whole}),
        store({4, whole}),
        store({nullptr, whole}),
        store({"cancel", nullptr}),
        store({"cancel", json::array({whole})}),
    };
    for (const auto& each : stores)
        expectDefaults(each.dump());
}

TEST_F(HotkeyBindingStoreTest, LoadsTheDefaultsIfABindingHasAnotherForm) {
    const std::vector<json> bindings{
        without(whole, "action"),
        without(whole, "configs"),
        without(whole, "isEnabled"),
        binding("undo"),
        binding("cancel", nullptr),
        binding("cancel", json::object()),
        binding("cancel", json::array(), nullptr),
        binding("cancel", json::array(), 1),
        binding("cancel", json::array(), "true"),
    };
    for (const auto& each : bindings)
        expectDefaults(store({"cancel", each}).dump());
}

TEST_F(HotkeyBindingStoreTest, LoadsTheDefaultsIfAConfigurationHasAnotherForm) {
    const std::vector<json> configs{
        nullptr,
        json::array({96, 0, "F5"}),
        without(config(96, 0, "F5"), "keyCode"),
        without(config(96, 0, "F5"), "modifiers"),
        without(config(96, 0, "F5"), "displayName"),
        config(nullptr, 0, "F5"),
        config("96", 0, "F5"),
        config(true, 0, "F5"),
        config(96.5, 0, "F5"),
        config(std::uint64_t{1} << 63, 0, "F5"),
        config(1e19, 0, "F5"),
        config(-1e19, 0, "F5"),
        config(96, -1, "F5"),
        config(96, -1.0, "F5"),
        config(96, 0.25, "F5"),
        config(96, 18446744073709551616.0, "F5"),
        config(96, false, "F5"),
        config(96, 0, nullptr),
        config(96, 0, 5),
    };
    for (const auto& each : configs)
        expectDefaults(storeWith(each).dump());
}

TEST_F(HotkeyBindingStoreTest, LoadsTheFormThatTheInvalidFormsDifferFrom) {
    put(store({"cancel", whole}).dump());
    EXPECT_EQ(load().at(HotkeyAction::cancel).configs.front().displayName, "F5");
}

TEST_F(HotkeyBindingStoreTest, SavesANameThatIsNotUtf8) {
    HotkeyBindingStore::save(settings,
                             {{HotkeyAction::cancel, {HotkeyAction::cancel, {{53, 0, "Esc\xff"}}, true}}});
    EXPECT_EQ(load().at(HotkeyAction::cancel).configs.front().displayName, "Esc\ufffd");
}

TEST(HotkeyBindingStore, DecodesAListWithoutAddingDefaults) {
    const auto decoded = HotkeyBindingStore::decode(store({"cancel", binding("cancel")}).dump());
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->bindings.size(), 1U);
}

TEST(HotkeyConflict, IsAnExactMatchWithAnEnabledBindingOfAnotherAction) {
    const auto conflict = [](std::int64_t keyCode, std::uint64_t modifiers, HotkeyAction editing,
                             const HotkeyBindings& bindings = HotkeyBindingStore::defaults()) {
        return HotkeyBindingStore::conflictingAction(keyCode, modifiers, editing, bindings);
    };
    EXPECT_EQ(conflict(49, modifier::option, HotkeyAction::pushToTalk), HotkeyAction::handsFree);
    EXPECT_EQ(conflict(49, modifier::option, HotkeyAction::handsFree), std::nullopt);
    EXPECT_EQ(conflict(49, modifier::option | modifier::shift, HotkeyAction::pushToTalk), std::nullopt);
    EXPECT_EQ(conflict(49, modifier::option | 0x20, HotkeyAction::pushToTalk), std::nullopt);
    EXPECT_EQ(conflict(50, modifier::option, HotkeyAction::pushToTalk), std::nullopt);
    EXPECT_EQ(conflict((std::int64_t{1} << 32) + 49, modifier::option, HotkeyAction::pushToTalk),
              std::nullopt);
    EXPECT_EQ(conflict(-1, modifier::option, HotkeyAction::cancel), HotkeyAction::pushToTalk);
    EXPECT_EQ(conflict(49, modifier::option, HotkeyAction::pushToTalk, {}), std::nullopt);

    auto bindings = HotkeyBindingStore::defaults();
    bindings.at(HotkeyAction::handsFree).isEnabled = false;
    EXPECT_EQ(conflict(49, modifier::option, HotkeyAction::pushToTalk, bindings), std::nullopt);

    bindings.at(HotkeyAction::cancel).configs.push_back({49, modifier::option, "another name"});
    bindings.at(HotkeyAction::commandMode).configs.push_back({49, modifier::option, ""});
    EXPECT_EQ(conflict(49, modifier::option, HotkeyAction::pushToTalk, bindings), HotkeyAction::commandMode);
    EXPECT_EQ(conflict(49, modifier::option, HotkeyAction::commandMode, bindings), HotkeyAction::cancel);
}

} // namespace sonvale::hotkeys
