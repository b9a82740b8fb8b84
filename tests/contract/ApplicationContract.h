#pragma once

#include "platform/Application.h"

#include <gtest/gtest.h>

namespace sonvale::tests {

/// What every Application does. `Subject` gives `application()`, `openWindow()` (a number),
/// `becomesListed(window, bool)` (whether the task bar comes to list it, or not to), and `ends()` (whether
/// the program has ended or now ends).
template <class Subject>
class ApplicationContract : public testing::Test {
protected:
    platform::Application& application() { return subject.application(); }

    Subject subject;
};

TYPED_TEST_SUITE_P(ApplicationContract);

TYPED_TEST_P(ApplicationContract, ListsWindowsAtFirst) {
    EXPECT_TRUE(this->subject.becomesListed(this->subject.openWindow(), true));
}

TYPED_TEST_P(ApplicationContract, AnAccessorysOpenWindowsLeaveTheTaskbar) {
    const auto one = this->subject.openWindow();
    const auto other = this->subject.openWindow();
    ASSERT_TRUE(this->subject.becomesListed(one, true));
    this->application().setActivationPolicy(platform::ActivationPolicy::accessory);
    EXPECT_TRUE(this->subject.becomesListed(one, false));
    EXPECT_TRUE(this->subject.becomesListed(other, false));
}

TYPED_TEST_P(ApplicationContract, AnAccessorysWindowsToComeAreNotListed) {
    this->application().setActivationPolicy(platform::ActivationPolicy::accessory);
    EXPECT_TRUE(this->subject.becomesListed(this->subject.openWindow(), false));
}

TYPED_TEST_P(ApplicationContract, RegularBringsOpenWindowsBack) {
    this->application().setActivationPolicy(platform::ActivationPolicy::accessory);
    const auto window = this->subject.openWindow();
    ASSERT_TRUE(this->subject.becomesListed(window, false));
    this->application().setActivationPolicy(platform::ActivationPolicy::regular);
    EXPECT_TRUE(this->subject.becomesListed(window, true));
    EXPECT_TRUE(this->subject.becomesListed(this->subject.openWindow(), true));
}

TYPED_TEST_P(ApplicationContract, TerminateEndsTheProgram) {
    this->application().terminate();
    EXPECT_TRUE(this->subject.ends());
}

REGISTER_TYPED_TEST_SUITE_P(ApplicationContract, ListsWindowsAtFirst, AnAccessorysOpenWindowsLeaveTheTaskbar,
                            AnAccessorysWindowsToComeAreNotListed, RegularBringsOpenWindowsBack,
                            TerminateEndsTheProgram);

} // namespace sonvale::tests
