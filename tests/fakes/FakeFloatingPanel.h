#pragma once

#include "platform/FloatingPanel.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// A ring that nobody sees. Test side: what is shown and everything that was asked of it.
class FakeFloatingPanel final : public platform::FloatingPanel {
public:
    struct Shown {
        platform::RecordingState state = platform::RecordingState::idle;
        float level = 0;
        int panel = 0; ///< the first panel is 1, the one after a `hide` 2, and so on
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

    /// Calls `observer` after each `show` with its state, and after each `hide` with none.
    void setOnChange(std::function<void(std::optional<platform::RecordingState>)> observer) {
        onChange_ = std::move(observer);
    }

    const std::optional<Shown>& shown() const { return shown_; }
    /// What each `show` left on the screen.
    const std::vector<Shown>& history() const { return history_; }

private:
    std::optional<Shown> shown_;
    std::vector<Shown> history_;
    std::function<void(std::optional<platform::RecordingState>)> onChange_;
    int panels_ = 0;
};

} // namespace sonvale::tests
