#include "hotkeys/HotkeyConfiguration.h"

#include "platform/EventTap.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <vector>

namespace sonvale::hotkeys {

namespace {

using KeyName = std::pair<std::int64_t, std::string_view>;

// In the order of the codes.
constexpr auto keyNames = std::to_array<KeyName>({
    {0, "A"},     {1, "S"},     {2, "D"},    {3, "F"},    {4, "H"},       {5, "G"},       {6, "Z"},
    {7, "X"},     {8, "C"},     {9, "V"},    {11, "B"},   {12, "Q"},      {13, "W"},      {14, "E"},
    {15, "R"},    {16, "Y"},    {17, "T"},   {18, "1"},   {19, "2"},      {20, "3"},      {21, "4"},
    {22, "6"},    {23, "5"},    {24, "="},   {25, "9"},   {26, "7"},      {28, "8"},      {29, "0"},
    {31, "O"},    {32, "U"},    {34, "I"},   {35, "P"},   {36, "Return"}, {37, "L"},      {38, "J"},
    {40, "K"},    {45, "N"},    {46, "M"},   {48, "Tab"}, {49, "Space"},  {51, "Delete"}, {53, "Escape"},
    {96, "F5"},   {97, "F6"},   {98, "F7"},  {99, "F3"},  {100, "F8"},    {101, "F9"},    {103, "F11"},
    {109, "F10"}, {111, "F12"}, {118, "F4"}, {120, "F2"}, {122, "F1"},
});
static_assert(std::ranges::is_sorted(keyNames, {}, &KeyName::first));

struct ModifierName {
    std::uint64_t bit;
    std::string_view name;
};

constexpr std::array<ModifierName, 4> modifierNames{{
    {platform::modifier::control, "Control"},
    {platform::modifier::option, "Option"},
    {platform::modifier::shift, "Shift"},
    {platform::modifier::command, "Command"},
}};

} // namespace

std::string HotkeyConfiguration::formatDisplayName(std::int64_t keyCode, std::uint64_t modifiers) {
    std::vector<std::string> parts;
    for (const auto& [bit, name] : modifierNames) {
        if ((modifiers & bit) != 0)
            parts.emplace_back(name);
    }
    if (keyCode >= 0)
        parts.push_back(keyName(keyCode));
    return fmt::format("{}", fmt::join(parts, " + "));
}

std::string HotkeyConfiguration::keyName(std::int64_t keyCode) {
    const auto entry = std::ranges::lower_bound(keyNames, keyCode, {}, &KeyName::first);
    if (entry != keyNames.end() && entry->first == keyCode)
        return std::string(entry->second);
    return fmt::format("Key {}", keyCode);
}

} // namespace sonvale::hotkeys
