#include "audio/SystemAudioController.h"

#include "tests/fakes/FakeMediaPlayers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <new>
#include <optional>

namespace sonvale::audio {

namespace {

class SystemAudioControllerTest : public testing::Test {
protected:
    tests::FakeMediaPlayers players;
    tests::FakeMediaPlayers::Control& desktop = players.control();
    std::optional<SystemAudioController> controller{players};
};

} // namespace

TEST_F(SystemAudioControllerTest, KnowsNothingBeforeTheFirstReport) {
    EXPECT_FALSE(controller->isMediaCurrentlyPlaying());
    EXPECT_FALSE(controller->didPauseMedia);
    EXPECT_EQ(desktop.toggles(), 0);
}

TEST_F(SystemAudioControllerTest, FollowsTheReports) {
    desktop.report(true);
    EXPECT_TRUE(controller->isMediaCurrentlyPlaying());
    desktop.report(false);
    EXPECT_FALSE(controller->isMediaCurrentlyPlaying());
    desktop.report(true);
    EXPECT_TRUE(controller->isMediaCurrentlyPlaying());
}

TEST_F(SystemAudioControllerTest, TheLastReportCountsForAllPlayers) {
    desktop.report(true);  // one
    desktop.report(true);  // another
    desktop.report(false); // the other one pauses, the first continues
    EXPECT_FALSE(controller->isMediaCurrentlyPlaying());
}

TEST_F(SystemAudioControllerTest, SendsOneCommandForEachToggle) {
    desktop.report(true);
    controller->togglePlayPause();
    EXPECT_EQ(desktop.toggles(), 1);
    EXPECT_FALSE(desktop.isPlaying());
    controller->togglePlayPause();
    EXPECT_EQ(desktop.toggles(), 2);
    EXPECT_TRUE(desktop.isPlaying());
}

TEST_F(SystemAudioControllerTest, SendsTheCommandWhetherOrNotSomethingPlays) {
    controller->togglePlayPause();
    EXPECT_EQ(desktop.toggles(), 1);
}

TEST_F(SystemAudioControllerTest, AReportOfItsOwnCommandKeepsTheResumePending) {
    desktop.report(true);
    controller->togglePlayPause();
    controller->didPauseMedia = true;
    EXPECT_FALSE(controller->isMediaCurrentlyPlaying());
    EXPECT_TRUE(controller->didPauseMedia);
}

TEST_F(SystemAudioControllerTest, AReportAfterItsDestructionChangesNothing) {
    // In memory of its own, where a late report would be visible.
    alignas(SystemAudioController) std::array<std::byte, sizeof(SystemAudioController)> memory{};
    controller.reset();
    auto* former = new (memory.data()) SystemAudioController(players);
    desktop.report(true);
    ASSERT_TRUE(former->isMediaCurrentlyPlaying());
    former->~SystemAudioController();
    memory.fill(std::byte{0});
    desktop.report(false);
    desktop.report(true);
    EXPECT_EQ(std::ranges::count(memory, std::byte{0}), std::ssize(memory));

    SystemAudioController next(players);
    EXPECT_FALSE(next.isMediaCurrentlyPlaying()) << "it knows nothing of reports from before its start";
    desktop.report(true);
    EXPECT_TRUE(next.isMediaCurrentlyPlaying());
}

} // namespace sonvale::audio
