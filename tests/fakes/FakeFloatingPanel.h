#pragma once

#include "platform/FloatingPanel.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// A ring without a screen. Records for the test what is shown and all calls.
class FakeFloatingPanel final : public platform::FloatingPanel {
public:
    struct Shown {
        platform::RecordingState state = platform::RecordingState::idle;
        float level = 0;
        int panel = 0; ///< 1 for the first panel, 2 after a `hide`, and so on
        friend bool operator==(const Shown&, const Shown&) = default;
    };

    void show(platform::RecordingState state, float level) override {
        if (!shown_)
            ++panels_;
        shown_ = Shown{state, level, panels_};
        history_.push_back(*shown_);
        if (onChange_)
            onChange_(state);
    }

    void setLevel(float level) override {
        if (shown_)
            shown_->level = level;
    }

    void hide() override {
        shown_.reset();
        if (onChange_)
            onChange_(std::nullopt);
    }

    /// Calls `observer` after each `show` with its state, and after each `hide` with nullopt.
    void setOnChange(std::function<void(std::optional<platform::RecordingState>)> observer) {
        onChange_ = std::move(observer);
    }

    const std::optional<Shown>& shown() const { return shown_; }
    /// Returns what was on the screen after each `show`.
    const std::vector<Shown>& history() const { return history_; }

private:
    std::optional<Shown> shown_;
    std::vector<Shown> history_;
    std::function<void(std::optional<platform::RecordingState>)> onChange_;
    int panels_ = 0;
};

} // namespace sonvale::tests
