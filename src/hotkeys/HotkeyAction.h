#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace sonvale::hotkeys {

/// The actions that the user can trigger from any application, in the order of their lists.
enum class HotkeyAction { pushToTalk, handsFree, commandMode, pasteLastTranscript, cancel };

inline constexpr std::array allHotkeyActions{HotkeyAction::pushToTalk, HotkeyAction::handsFree,
                                             HotkeyAction::commandMode, HotkeyAction::pasteLastTranscript,
                                             HotkeyAction::cancel};

/// Returns the stored name of the action.
std::string_view rawValue(HotkeyAction action);

/// Returns the action with that stored name, compared byte by byte; nullopt for any other text.
std::optional<HotkeyAction> hotkeyActionFromRawValue(std::string_view rawValue);

/// Return the title and the explanation for the user.
std::string_view label(HotkeyAction action);
std::string_view subtitle(HotkeyAction action);

} // namespace sonvale::hotkeys
