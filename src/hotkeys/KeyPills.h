#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sonvale::hotkeys {

/// Returns the text of a key's cap; empty for the key of a hotkey of modifiers alone.
std::string keySymbol(std::int64_t keyCode);

/// Returns a hotkey as a row of key caps: Control, Option, Shift, Command, then the key.
std::vector<std::string> keyPills(std::int64_t keyCode, std::uint64_t modifiers);

} // namespace sonvale::hotkeys
