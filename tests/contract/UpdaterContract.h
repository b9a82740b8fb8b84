#pragma once

#include "platform/Updater.h"
#include "tests/contract/NetworkTasks.h"

#include <gtest/gtest.h>

#include <string>

namespace sonvale::tests {

/// The rules of `platform::Updater`. `Subject` has `updater()`; `offer(version, page)`, `offerNothingNew()`,
/// `fail()` and `keepWaiting()` for the result of the next checks; `checks()`, the number of requests; and
/// `tasks()`.
template <class Subject>
class UpdaterContract : public testing::Test {
protected:
    platform::UpdateOutcome check() {
        return subject.tasks().finish(subject.tasks().startInOrder(subject.updater().checkForUpdates()));
    }

    Subject subject;
};

TYPED_TEST_SUITE_P(UpdaterContract);

TYPED_TEST_P(UpdaterContract, AsksNothingByItself) {
    this->subject.offerNothingNew();
    EXPECT_EQ(this->subject.checks(), 0);
}

TYPED_TEST_P(UpdaterContract, ReportsThatTheProgramIsUpToDate) {
    this->subject.offerNothingNew();
    EXPECT_EQ(this->check(), platform::UpdateOutcome(platform::UpToDate{"1.2.0"}));
    EXPECT_EQ(this->subject.checks(), 1);
}

TYPED_TEST_P(UpdaterContract, ReportsANewerVersionAndItsPage) {
    this->subject.offer("1.10.0", "https://example.org/new");
    const auto outcome = this->check();
    ASSERT_TRUE(std::holds_alternative<platform::NewerVersion>(outcome));
    EXPECT_EQ(std::get<platform::NewerVersion>(outcome),
              (platform::NewerVersion{"1.10.0", "https://example.org/new", true}));
}

TYPED_TEST_P(UpdaterContract, ReportsAFailureInWords) {
    this->subject.fail();
    const auto outcome = this->check();
    ASSERT_TRUE(std::holds_alternative<platform::UpdateCheckFailed>(outcome));
    EXPECT_FALSE(std::get<platform::UpdateCheckFailed>(outcome).description.empty());
}

TYPED_TEST_P(UpdaterContract, AsksAgainAtEveryCall) {
    this->subject.fail();
    this->check();
    this->subject.offerNothingNew();
    EXPECT_TRUE(std::holds_alternative<platform::UpToDate>(this->check()));
    EXPECT_EQ(this->subject.checks(), 2);
}

TYPED_TEST_P(UpdaterContract, EndsWhenItsTaskIsCancelled) {
    this->subject.keepWaiting();
    const auto handle = this->subject.tasks().startInOrder(this->subject.updater().checkForUpdates());
    ASSERT_TRUE(eventually(NetworkTasks::timeoutSeconds, [&] { return this->subject.checks() == 1; }));
    EXPECT_FALSE(handle.isDone());
    handle.cancel();
    EXPECT_THROW(this->subject.tasks().finish(handle), runtime::CancellationError);
}

REGISTER_TYPED_TEST_SUITE_P(UpdaterContract, AsksNothingByItself, ReportsThatTheProgramIsUpToDate,
                            ReportsANewerVersionAndItsPage, ReportsAFailureInWords, AsksAgainAtEveryCall,
                            EndsWhenItsTaskIsCancelled);

} // namespace sonvale::tests
