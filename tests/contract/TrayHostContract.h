#pragma once

#include "platform/TrayHost.h"

#include <gtest/gtest.h>

namespace sonvale::tests {

/// What every tray host does. `Subject` gives `host()`, `showPanel()`, `endGrace()` (the time that a starting
/// desktop needs has passed), `becomes(condition)` (whether the condition becomes true) and `settle()`.
template <class Subject>
class TrayHostContract : public testing::Test {
protected:
    void wait() {
        subject.host().wait([this] { ++found; }, [this] { ++noneYet; });
    }

    Subject subject;
    int found = 0;
    int noneYet = 0;
};

TYPED_TEST_SUITE_P(TrayHostContract);

TYPED_TEST_P(TrayHostContract, FindsAPanelThatIsThereAlready) {
    this->subject.showPanel();
    this->wait();
    EXPECT_EQ(this->found, 0) << "inside the call";
    EXPECT_TRUE(this->subject.becomes([this] { return this->found == 1; }));
    this->subject.endGrace();
    this->subject.settle();
    EXPECT_EQ(this->found, 1);
    EXPECT_EQ(this->noneYet, 0);
}

TYPED_TEST_P(TrayHostContract, ReportsThatThereIsNoPanelYet) {
    this->wait();
    this->subject.settle();
    EXPECT_EQ(this->noneYet, 0);
    this->subject.endGrace();
    EXPECT_TRUE(this->subject.becomes([this] { return this->noneYet == 1; }));
    EXPECT_EQ(this->found, 0);
}

TYPED_TEST_P(TrayHostContract, FindsAPanelThatComesLater) {
    this->wait();
    this->subject.endGrace();
    ASSERT_TRUE(this->subject.becomes([this] { return this->noneYet == 1; }));
    this->subject.showPanel();
    EXPECT_TRUE(this->subject.becomes([this] { return this->found == 1; }));
    this->subject.settle();
    EXPECT_EQ(this->noneYet, 1);
}

TYPED_TEST_P(TrayHostContract, CallsNothingOnceItIsStopped) {
    this->wait();
    this->subject.host().stop();
    this->subject.showPanel();
    this->subject.endGrace();
    this->subject.settle();
    EXPECT_EQ(this->found, 0);
    EXPECT_EQ(this->noneYet, 0);
}

REGISTER_TYPED_TEST_SUITE_P(TrayHostContract, FindsAPanelThatIsThereAlready, ReportsThatThereIsNoPanelYet,
                            FindsAPanelThatComesLater, CallsNothingOnceItIsStopped);

} // namespace sonvale::tests
