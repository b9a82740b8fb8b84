#include "hotkeys/HotkeyConfiguration.h"

#include "platform/EventTap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace modifier = platform::modifier;

TEST(HotkeyConfiguration, NamesTheKeysOfTheUsLayout) {
    // Letter keys by the rows of the keyboard: a check that does not repeat the order of the table.
    const std::vector<std::pair<std::string, std::vector<int>>> rows{
        {"QWERTYUIOP", {12, 13, 14, 15, 17, 16, 32, 34, 31, 35}},
        {"ASDFGHJKL", {0, 1, 2, 3, 5, 4, 38, 40, 37}},
        {"ZXCVBNM", {6, 7, 8, 9, 11, 45, 46}},
        {"1234567890=", {18, 19, 20, 21, 23, 22, 26, 28, 25, 29, 24}},
    };
    for (const auto& [names, codes] : rows) {
        ASSERT_EQ(names.size(), codes.size());
        for (std::size_t i = 0; i < names.size(); ++i)
            EXPECT_EQ(HotkeyConfiguration::keyName(codes[i]), names.substr(i, 1));
    }
    const std::map<int, std::string> others{
        {36, "Return"}, {48, "Tab"}, {49, "Space"}, {51, "Delete"}, {53, "Escape"}, {122, "F1"},
        {120, "F2"},    {99, "F3"},  {118, "F4"},   {96, "F5"},     {97, "F6"},     {98, "F7"},
        {100, "F8"},    {101, "F9"}, {109, "F10"},  {103, "F11"},   {111, "F12"},
    };
    for (const auto& [code, name] : others)
        EXPECT_EQ(HotkeyConfiguration::keyName(code), name);
}

TEST(HotkeyConfiguration, NamesAnyOtherKeyByItsNumber) {
    for (const std::int64_t code : {10, 27, 30, 33, 39, 41, 42, 43, 44, 47, 50, 52, 123, 1000, -1, -2})
        EXPECT_EQ(HotkeyConfiguration::keyName(code), "Key " + std::to_string(code));
    EXPECT_EQ(HotkeyConfiguration::keyName((std::int64_t{1} << 32) + 53), "Key 4294967349");
    EXPECT_EQ(HotkeyConfiguration::keyName(std::numeric_limits<std::int64_t>::min()),
              "Key -9223372036854775808");
    EXPECT_EQ(HotkeyConfiguration::keyName(std::numeric_limits<std::int64_t>::max()),
              "Key 9223372036854775807");
}

TEST(HotkeyConfiguration, JoinsModifiersAndKeyInAFixedOrder) {
    struct Row {
        std::int64_t keyCode;
        std::uint64_t modifiers;
        std::string name;
    };
    for (const auto& [keyCode, modifiers, name] : std::vector<Row>{
             {-1, modifier::option, "Option"},
             {-1, modifier::mask, "Control + Option + Shift + Command"},
             {9, modifier::command | modifier::option, "Option + Command + V"},
             {49, modifier::command, "Command + Space"},
             {0, modifier::control | modifier::shift, "Control + Shift + A"},
             {27, 0, "Key 27"},
             {53, 0, "Escape"},
             {-1, 0, ""},
             {-7, modifier::shift, "Shift"},
             {49, ~modifier::mask, "Space"},
             {49, ~std::uint64_t{0}, "Control + Option + Shift + Command + Space"},
         })
        EXPECT_EQ(HotkeyConfiguration::formatDisplayName(keyCode, modifiers), name);
}

TEST(HotkeyConfiguration, DiffersByItsNameAlone) {
    const HotkeyConfiguration stored{9, modifier::command | modifier::option, "Command + Option + V"};
    auto recorded = stored;
    recorded.displayName = HotkeyConfiguration::formatDisplayName(stored.keyCode, stored.modifiers);
    EXPECT_NE(stored, recorded);
}

} // namespace sonvale::hotkeys
