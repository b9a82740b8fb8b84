#pragma once

#include "platform/MediaPlayers.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A desktop with one paused player that has reported nothing.
class MediaPlayersHarness {
public:
    MediaPlayersHarness() = default;
    MediaPlayersHarness(const MediaPlayersHarness&) = delete;
    MediaPlayersHarness& operator=(const MediaPlayersHarness&) = delete;
    virtual ~MediaPlayersHarness() = default;

    virtual platform::MediaPlayers& players() = 0;

    /// Presses play or pause in the player itself, as the user does.
    virtual void setPlaying(bool isPlaying) = 0;
    /// Returns the state by the player itself.
    virtual bool isPlaying() = 0;
    /// Handles reports until `condition` holds. Returns whether it does.
    virtual bool comesTo(const std::function<bool()>& condition) = 0;
};

struct MediaPlayersMaker {
    std::string name;
    std::function<std::unique_ptr<MediaPlayersHarness>()> make;
};

class MediaPlayersContract : public testing::TestWithParam<MediaPlayersMaker> {
protected:
    void observe() {
        players.setOnPlaybackChange([this](bool isPlaying) { reports.push_back(isPlaying); });
    }
    bool lastReportIs(bool isPlaying) {
        return harness->comesTo([&] { return !reports.empty() && reports.back() == isPlaying; });
    }
    bool playerComesToPlay(bool isPlaying) {
        return harness->comesTo([&] { return harness->isPlaying() == isPlaying; });
    }

    std::unique_ptr<MediaPlayersHarness> harness = GetParam().make();
    platform::MediaPlayers& players = harness->players();
    std::vector<bool> reports;
};

} // namespace sonvale::tests
