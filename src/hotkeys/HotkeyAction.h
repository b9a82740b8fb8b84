#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace sonvale::hotkeys {

/// What the user can trigger from any application, in the order in which it is listed to the user.
enum class HotkeyAction { pushToTalk, handsFree, commandMode, pasteLastTranscript, cancel };

inline constexpr std::array allHotkeyActions{HotkeyAction::pushToTalk, HotkeyAction::handsFree,
                                             HotkeyAction::commandMode, HotkeyAction::pasteLastTranscript,
                                             HotkeyAction::cancel};

/// The name under which the action is stored.
std::string_view rawValue(HotkeyAction action);

/// The action with that stored name, compared byte by byte; absent for any other text.
std::optional<HotkeyAction> hotkeyActionFromRawValue(std::string_view rawValue);

/// Title and explanation for the user.
std::string_view label(HotkeyAction action);
std::string_view subtitle(HotkeyAction action);

} // namespace sonvale::hotkeys
