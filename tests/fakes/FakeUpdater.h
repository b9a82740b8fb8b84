#pragma once

#include "platform/Updater.h"

#include <optional>
#include <utility>

namespace sonvale::tests {

/// An updater whose outcome a test chooses. Until then a check waits.
class FakeUpdater final : public platform::Updater {
public:
    /// The operations for tests. Main actor.
    class Control {
    public:
        /// Sets the outcome of the waiting check and of all later ones.
        void answer(platform::UpdateOutcome outcome) {
            outcome_ = std::move(outcome);
            if (const auto waiting = std::exchange(waiting_, std::nullopt))
                waiting->resume(*outcome_);
        }
        /// Makes later checks wait again.
        void hang() { outcome_.reset(); }
        /// Returns the number of started checks.
        int checks() const { return checks_; }

    private:
        friend class FakeUpdater;
        std::optional<platform::UpdateOutcome> outcome_;
        std::optional<runtime::Continuation<platform::UpdateOutcome>> waiting_; ///< only the last one
        int checks_ = 0;
    };

    Control& control() { return control_; }

    runtime::Task<platform::UpdateOutcome> checkForUpdates() override { return check(&control_); }

private:
    static runtime::Task<platform::UpdateOutcome> check(Control* control) {
        ++control->checks_;
        if (co_await runtime::isCurrentTaskCancelled())
            throw runtime::CancellationError();
        if (control->outcome_)
            co_return *control->outcome_;
        co_return co_await runtime::suspend<platform::UpdateOutcome>(
            [control](runtime::Continuation<platform::UpdateOutcome> waiting) {
                control->waiting_ = waiting;
            },
            [control] {
                if (const auto waiting = std::exchange(control->waiting_, std::nullopt))
                    waiting->fail(std::make_exception_ptr(runtime::CancellationError()));
            });
    }

    Control control_;
};

} // namespace sonvale::tests
