#include "hotkeys/HotkeyAction.h"

#include <cstddef>

namespace sonvale::hotkeys {

namespace {

struct ActionText {
    std::string_view rawValue;
    std::string_view label;
    std::string_view subtitle;
};

constexpr std::array<ActionText, allHotkeyActions.size()> texts{{
    {"pushToTalk", "Push to Talk", "Hold to say something short"},
    {"handsFree", "Hands-Free Mode", "Press to start/stop dictation"},
    {"commandMode", "Command Mode", "Select text and ask Son Vale to transform it"},
    {"pasteLastTranscript", "Paste Last Transcript", "Re-paste the last thing you dictated"},
    {"cancel", "Cancel", "Dismiss dictation and notifications"},
}};

const ActionText& textOf(HotkeyAction action) {
    return texts.at(static_cast<std::size_t>(action));
}

} // namespace

std::string_view rawValue(HotkeyAction action) {
    return textOf(action).rawValue;
}

std::optional<HotkeyAction> hotkeyActionFromRawValue(std::string_view rawValue) {
    for (const auto action : allHotkeyActions) {
        if (textOf(action).rawValue == rawValue)
            return action;
    }
    return std::nullopt;
}

std::string_view label(HotkeyAction action) {
    return textOf(action).label;
}

std::string_view subtitle(HotkeyAction action) {
    return textOf(action).subtitle;
}

} // namespace sonvale::hotkeys
