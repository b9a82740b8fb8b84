#pragma once

#include <optional>
#include <string_view>

namespace sonvale::adapters::freedesktop {

/// Which keys a program knows for paste, copy and undo.
enum class KeyStyle {
    ordinary, ///< Control-V, Control-C and Control-Z
    terminal, ///< with Shift too; Control-C would end and Control-Z stop the program that runs there
    xterm,    ///< Shift-Insert pastes PRIMARY; no key copies
    emacs,    ///< Shift-Insert pastes the clipboard; Control-V scrolls, Control-C begins a command
    gvim,     ///< Shift-Insert pastes PRIMARY; Control-V, -C and -Z depend on the mode
};

/// Returns the style of the program with this class of WM_CLASS, in any case. An unknown program with "term"
/// in its name counts as a terminal: pasting nothing there is better than ending what runs in it.
KeyStyle keyStyleOf(std::string_view windowClass);

/// Returns the macOS bundle identifier of a terminal, by a part of its WM_CLASS or the name of its desktop
/// file in lower case; nullopt for a name that is not in the list of terminals.
std::optional<std::string_view> terminalIdentifier(std::string_view name);

} // namespace sonvale::adapters::freedesktop
