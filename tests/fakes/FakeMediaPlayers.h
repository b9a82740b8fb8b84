#pragma once

#include "platform/MediaPlayers.h"

#include <functional>
#include <utility>

namespace sonvale::tests {

/// Players whose state a test reports.
class FakeMediaPlayers final : public platform::MediaPlayers {
public:
    /// The operations for tests. Main actor.
    class Control {
    public:
        /// Reports that a player plays, or that it does not.
        void report(bool isPlaying) {
            isPlaying_ = isPlaying;
            if (observer_)
                observer_(isPlaying);
        }
        /// Calls `observer` each time the command is sent.
        void setOnToggle(std::function<void()> observer) { onToggle_ = std::move(observer); }
        /// Returns how often the command was sent.
        int toggles() const { return toggles_; }
        /// Returns whether the player plays, by its reports and the commands that it received.
        bool isPlaying() const { return isPlaying_; }

    private:
        friend class FakeMediaPlayers;
        std::function<void(bool)> observer_;
        std::function<void()> onToggle_;
        bool isPlaying_ = false;
        int toggles_ = 0;
    };

    Control& control() { return control_; }

    void setOnPlaybackChange(std::function<void(bool isPlaying)> observer) override {
        control_.observer_ = std::move(observer);
    }
    /// The player obeys and reports its new state.
    void togglePlayPause() override {
        ++control_.toggles_;
        if (control_.onToggle_)
            control_.onToggle_();
        control_.report(!control_.isPlaying_);
    }

private:
    Control control_;
};

} // namespace sonvale::tests
