#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace sonvale::hotkeys {

/// A key as it is printed on a key cap; empty for the key of a shortcut that is made of modifiers alone.
std::string keySymbol(std::int64_t keyCode);

/// A shortcut as a row of key caps: Control, Option, Shift, Command, then the key.
std::vector<std::string> keyPills(std::int64_t keyCode, std::uint64_t modifiers);

} // namespace sonvale::hotkeys
