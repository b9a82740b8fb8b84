#pragma once

#include <optional>
#include <string_view>

namespace sonvale::adapters::freedesktop {

/// The keys with which a program pastes, copies and undoes.
enum class KeyStyle {
    ordinary, ///< Control-V, Control-C and Control-Z
    terminal, ///< the same with Shift; Control-C would end and Control-Z stop the program inside
    xterm,    ///< Shift-Insert pastes PRIMARY; no key copies
    emacs,    ///< Shift-Insert pastes the clipboard; Control-V scrolls, Control-C begins a command
    gvim,     ///< Shift-Insert pastes PRIMARY; Control-V, -C and -Z depend on the mode
};

/// Returns the style of the program with this class of WM_CLASS, in any case. An unknown program with "term"
/// in its name counts as a terminal: a paste that does nothing is better than a key that ends the program
/// inside.
KeyStyle keyStyleOf(std::string_view windowClass);

/// Returns the macOS bundle identifier of a terminal, by a part of its WM_CLASS or the name of its desktop
/// file in lower case. Returns nullopt if the name is not in the list of terminals.
std::optional<std::string_view> terminalIdentifier(std::string_view name);

} // namespace sonvale::adapters::freedesktop
