#include "hotkeys/KeyPills.h"

#include "hotkeys/HotkeyConfiguration.h"
#include "platform/EventTap.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace sonvale::hotkeys {

namespace {

using KeySymbol = std::pair<std::int64_t, std::string_view>;

/// The keys whose caps differ from their names, in the order of the codes.
constexpr auto keySymbols = std::to_array<KeySymbol>({
    {27, "-"},  {30, "]"},  {33, "["},  {36, "↵"},  {39, "'"},  {41, ";"}, {42, "\\"},
    {43, ","},  {44, "/"},  {47, "."},  {48, "⇥"},  {50, "`"},  {51, "⌫"}, {53, "⎋ Esc"},
    {117, "⌦"}, {123, "←"}, {124, "→"}, {125, "↓"}, {126, "↑"},
});
static_assert(std::ranges::is_sorted(keySymbols, {}, &KeySymbol::first));

constexpr std::array<std::pair<std::uint64_t, std::string_view>, 4> modifierPills{{
    {platform::modifier::control, "⌃ Ctrl"},
    {platform::modifier::option, "⌥ Opt"},
    {platform::modifier::shift, "⇧ Shift"},
    {platform::modifier::command, "⌘ Cmd"},
}};

} // namespace

std::string keySymbol(std::int64_t keyCode) {
    if (keyCode < 0)
        return {};
    const auto* const entry = std::ranges::lower_bound(keySymbols, keyCode, {}, &KeySymbol::first);
    if (entry != keySymbols.end() && entry->first == keyCode)
        return std::string(entry->second);
    return HotkeyConfiguration::keyName(keyCode);
}

std::vector<std::string> keyPills(std::int64_t keyCode, std::uint64_t modifiers) {
    std::vector<std::string> pills;
    for (const auto& [bit, pill] : modifierPills) {
        if ((modifiers & bit) != 0)
            pills.emplace_back(pill);
    }
    if (auto symbol = keySymbol(keyCode); !symbol.empty())
        pills.push_back(std::move(symbol));
    return pills;
}

} // namespace sonvale::hotkeys
