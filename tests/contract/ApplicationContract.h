#pragma once

#include "platform/Application.h"

#include <gtest/gtest.h>

namespace sonvale::tests {

/// The rules of `platform::Application`. `Subject` has `application()`, `openWindow()` (returns a number),
/// `becomesListed(window, bool)` (waits until the task bar lists the window, or does not), and `ends()`
/// (whether the program has ended or now ends).
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

TYPED_TEST_P(ApplicationContract, RemovesOpenWindowsOfAnAccessoryFromTheTaskbar) {
    const auto one = this->subject.openWindow();
    const auto other = this->subject.openWindow();
    ASSERT_TRUE(this->subject.becomesListed(one, true));
    this->application().setActivationPolicy(platform::ActivationPolicy::accessory);
    EXPECT_TRUE(this->subject.becomesListed(one, false));
    EXPECT_TRUE(this->subject.becomesListed(other, false));
}

TYPED_TEST_P(ApplicationContract, DoesNotListLaterWindowsOfAnAccessory) {
    this->application().setActivationPolicy(platform::ActivationPolicy::accessory);
    EXPECT_TRUE(this->subject.becomesListed(this->subject.openWindow(), false));
}

TYPED_TEST_P(ApplicationContract, ListsOpenWindowsAgainWhenRegular) {
    this->application().setActivationPolicy(platform::ActivationPolicy::accessory);
    const auto window = this->subject.openWindow();
    ASSERT_TRUE(this->subject.becomesListed(window, false));
    this->application().setActivationPolicy(platform::ActivationPolicy::regular);
    EXPECT_TRUE(this->subject.becomesListed(window, true));
    EXPECT_TRUE(this->subject.becomesListed(this->subject.openWindow(), true));
}

TYPED_TEST_P(ApplicationContract, EndsTheProgramWhenTerminated) {
    this->application().terminate();
    EXPECT_TRUE(this->subject.ends());
}

REGISTER_TYPED_TEST_SUITE_P(ApplicationContract, ListsWindowsAtFirst,
                            RemovesOpenWindowsOfAnAccessoryFromTheTaskbar,
                            DoesNotListLaterWindowsOfAnAccessory, ListsOpenWindowsAgainWhenRegular,
                            EndsTheProgramWhenTerminated);

} // namespace sonvale::tests
