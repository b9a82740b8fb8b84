#include "persistence/SettingsKeys.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace sonvale::persistence {

namespace {

struct Row {
    std::string name;
    std::string type;
    std::string defaultValue; ///< "absent" for none
    DefaultGiven given;

    bool operator==(const Row&) const = default;
};

void PrintTo(const Row& row, std::ostream* stream) {
    *stream << row.name << " " << row.type << " " << row.defaultValue << " " << static_cast<int>(row.given);
}

std::string typeOf(const SettingKey<bool>&) {
    return "bool";
}
std::string typeOf(const SettingKey<std::int64_t>&) {
    return "integer";
}
std::string typeOf(const SettingKey<std::string>&) {
    return "string";
}
std::string typeOf(const SettingKey<Data>&) {
    return "data";
}

std::string text(bool value) {
    return value ? "true" : "false";
}
std::string text(std::int64_t value) {
    return std::to_string(value);
}
std::string text(std::string_view value) {
    return "\"" + std::string(value) + "\"";
}

std::vector<Row> rowsOfTheTable() {
    std::vector<Row> rows;
    std::apply(
        [&](const auto&... key) {
            (rows.push_back({std::string(key.name), typeOf(key),
                             key.defaultValue ? text(*key.defaultValue) : "absent", key.given}),
             ...);
        },
        keys::table);
    return rows;
}

} // namespace

TEST(SettingsKeys, HaveTheirNamesTypesAndDefaults) {
    using enum DefaultGiven;
    const std::vector<Row> wanted{
        {"isOnboardingComplete", "bool", "false", none},
        {"onboardingStep", "integer", "0", none},
        {"pauseAudioDuringDictation", "bool", "true", registered},
        {"showInDock", "bool", "true", registered},
        {"privacyModeEnabled", "bool", "false", registered},
        {"localOnlyMode", "bool", "false", registered},
        {"aiProcessingEnabled", "bool", "true", registered},
        {"soundEffectsEnabled", "bool", "true", bound},
        {"launchAtLogin", "bool", "false", bound},
        {"transcriptionEngine", "string", "\"hybrid\"", bound},
        {"engineBeforeLocalOnly", "string", "absent", none},
        {"language", "string", "\"en\"", bound},
        {"scratchpadText", "string", "\"\"", bound},
        {"retentionPeriodDays", "integer", "30", byReader},
        {"hotkeyBindings", "data", "absent", none},
        {"hotkeyBindingsMigrated", "bool", "false", none},
        {"guardModifierHotkeys", "bool", "absent", byReader},
        {"com.sonvale.accessToken", "string", "absent", none},
        {"com.sonvale.refreshToken", "string", "absent", none},
        {"com.sonvale.userEmail", "string", "absent", none},
    };
    EXPECT_EQ(rowsOfTheTable(), wanted);
}

TEST(SettingsKeys, AreUniqueAndExplained) {
    std::set<std::string_view> names;
    std::apply(
        [&](const auto&... key) {
            const auto look = [&](const auto& one) {
                EXPECT_TRUE(names.insert(one.name).second) << one.name;
                EXPECT_FALSE(one.meaning.empty()) << one.name;
            };
            (look(key), ...);
        },
        keys::table);
}

} // namespace sonvale::persistence
