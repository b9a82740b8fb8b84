#pragma once

#include "platform/Compositor.h"

#include <gtest/gtest.h>

namespace sonvale::tests {

/// What every compositor does. `Subject` gives `compositor()`, `start()` and `stop()`.
template <class Subject>
class CompositorContract : public testing::Test {
protected:
    Subject subject;
};

TYPED_TEST_SUITE_P(CompositorContract);

TYPED_TEST_P(CompositorContract, ReportsEachChange) {
    EXPECT_FALSE(this->subject.compositor().isRunning());
    this->subject.start();
    EXPECT_TRUE(this->subject.compositor().isRunning());
    this->subject.stop();
    EXPECT_FALSE(this->subject.compositor().isRunning());
}

REGISTER_TYPED_TEST_SUITE_P(CompositorContract, ReportsEachChange);

} // namespace sonvale::tests
