#pragma once

#include "platform/Appearance.h"

#include <functional>
#include <utility>

namespace sonvale::tests {

/// A desktop whose preferences a test sets.
class FakeAppearance final : public platform::Appearance {
public:
    /// What only tests call. Main actor.
    class Control {
    public:
        void setPreferences(Preferences preferences) {
            if (std::exchange(preferences_, preferences) != preferences && observer_)
                observer_();
        }

    private:
        friend class FakeAppearance;
        Preferences preferences_;
        std::function<void()> observer_;
    };

    Control& control() { return control_; }

    Preferences preferences() const override { return control_.preferences_; }
    void setOnChange(std::function<void()> observer) override { control_.observer_ = std::move(observer); }

private:
    Control control_;
};

} // namespace sonvale::tests
