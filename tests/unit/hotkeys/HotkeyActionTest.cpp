#include "hotkeys/HotkeyAction.h"

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace sonvale::hotkeys {

namespace {

struct Row {
    HotkeyAction action;
    std::string_view rawValue;
    std::string_view label;
    std::string_view subtitle;
};

const std::vector<Row> rows{
    {HotkeyAction::pushToTalk, "pushToTalk", "Push to Talk", "Hold to say something short"},
    {HotkeyAction::handsFree, "handsFree", "Hands-Free Mode", "Press to start/stop dictation"},
    {HotkeyAction::commandMode, "commandMode", "Command Mode",
     "Select text and ask Son Vale to transform it"},
    {HotkeyAction::pasteLastTranscript, "pasteLastTranscript", "Paste Last Transcript",
     "Re-paste the last thing you dictated"},
    {HotkeyAction::cancel, "cancel", "Cancel", "Dismiss dictation and notifications"},
};

} // namespace

TEST(HotkeyAction, HasItsTextsAndItsOrder) {
    ASSERT_EQ(rows.size(), allHotkeyActions.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(allHotkeyActions[i], rows[i].action);
        EXPECT_EQ(rawValue(rows[i].action), rows[i].rawValue);
        EXPECT_EQ(label(rows[i].action), rows[i].label);
        EXPECT_EQ(subtitle(rows[i].action), rows[i].subtitle);
        EXPECT_EQ(hotkeyActionFromRawValue(rows[i].rawValue), rows[i].action);
    }
}

TEST(HotkeyAction, IsAbsentForAnyOtherName) {
    for (const auto* name : {"", "PushToTalk", "pushToTalk ", "Push to Talk", "undo"})
        EXPECT_EQ(hotkeyActionFromRawValue(name), std::nullopt) << name;
}

} // namespace sonvale::hotkeys
