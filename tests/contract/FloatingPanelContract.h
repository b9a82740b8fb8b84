#pragma once

#include "platform/FloatingPanel.h"

#include <gtest/gtest.h>

#include <optional>

namespace sonvale::tests {

/// The rules of `platform::FloatingPanel`. `Subject` has `panel()` and `shown()`: an optional with `state`,
/// `level` and `panel`, a number that differs between panels.
template <class Subject>
class FloatingPanelContract : public testing::Test {
protected:
    platform::FloatingPanel& panel() { return subject.panel(); }
    auto shown() { return subject.shown(); }

    Subject subject;
};

TYPED_TEST_SUITE_P(FloatingPanelContract);

TYPED_TEST_P(FloatingPanelContract, IsHiddenAtFirst) {
    EXPECT_FALSE(this->shown());
    this->panel().hide();
    EXPECT_FALSE(this->shown());
}

TYPED_TEST_P(FloatingPanelContract, ShowsStateAndLevel) {
    this->panel().show(platform::RecordingState::recording, 0.25f);
    ASSERT_TRUE(this->shown());
    EXPECT_EQ(this->shown()->state, platform::RecordingState::recording);
    EXPECT_EQ(this->shown()->level, 0.25f);
}

TYPED_TEST_P(FloatingPanelContract, ChangesTheSamePanelAtTheSecondShow) {
    this->panel().show(platform::RecordingState::recording, 0.5f);
    const auto first = this->shown()->panel;
    this->panel().show(platform::RecordingState::processingHandsFree, 0);
    EXPECT_EQ(this->shown()->state, platform::RecordingState::processingHandsFree);
    EXPECT_EQ(this->shown()->level, 0);
    EXPECT_EQ(this->shown()->panel, first);
}

TYPED_TEST_P(FloatingPanelContract, ChangesOnlyTheLevel) {
    this->panel().show(platform::RecordingState::recording, 0.5f);
    const auto first = this->shown()->panel;
    this->panel().setLevel(0.75f);
    EXPECT_EQ(this->shown()->state, platform::RecordingState::recording);
    EXPECT_EQ(this->shown()->level, 0.75f);
    EXPECT_EQ(this->shown()->panel, first);
}

TYPED_TEST_P(FloatingPanelContract, ShowsNothingForALevelAlone) {
    this->panel().setLevel(0.75f);
    EXPECT_FALSE(this->shown());
}

TYPED_TEST_P(FloatingPanelContract, MakesANewPanelAfterAHide) {
    this->panel().show(platform::RecordingState::processing, 0);
    const auto first = this->shown()->panel;
    this->panel().hide();
    EXPECT_FALSE(this->shown());
    this->panel().hide();
    this->panel().show(platform::RecordingState::recording, 0);
    ASSERT_TRUE(this->shown());
    EXPECT_NE(this->shown()->panel, first);
}

REGISTER_TYPED_TEST_SUITE_P(FloatingPanelContract, IsHiddenAtFirst, ShowsStateAndLevel,
                            ChangesTheSamePanelAtTheSecondShow, ChangesOnlyTheLevel,
                            ShowsNothingForALevelAlone, MakesANewPanelAfterAHide);

} // namespace sonvale::tests
