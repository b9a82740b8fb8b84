#pragma once

#include "platform/LoginItem.h"

#include <gtest/gtest.h>

namespace sonvale::tests {

/// The rules of `platform::LoginItem`. `Subject` has `item()`; `isStartedAtLogin()`, what the desktop would
/// do; `turnOffElsewhere()`, as another tool does; and `setWritable(bool)`.
template <class Subject>
class LoginItemContract : public testing::Test {
protected:
    platform::LoginItem& item() { return subject.item(); }

    Subject subject;
};

TYPED_TEST_SUITE_P(LoginItemContract);

TYPED_TEST_P(LoginItemContract, IsOffAtFirst) {
    EXPECT_FALSE(this->item().isEnabled());
    EXPECT_FALSE(this->subject.isStartedAtLogin());
}

TYPED_TEST_P(LoginItemContract, IsOnAfterRegistering) {
    this->item().registerItem();
    EXPECT_TRUE(this->item().isEnabled());
    EXPECT_TRUE(this->subject.isStartedAtLogin());
}

TYPED_TEST_P(LoginItemContract, CanBeRegisteredTwice) {
    this->item().registerItem();
    this->item().registerItem();
    EXPECT_TRUE(this->item().isEnabled());
}

TYPED_TEST_P(LoginItemContract, IsOffAfterUnregistering) {
    this->item().registerItem();
    this->item().unregisterItem();
    EXPECT_FALSE(this->item().isEnabled());
    EXPECT_FALSE(this->subject.isStartedAtLogin());
}

TYPED_TEST_P(LoginItemContract, UnregistersAMissingItemWithoutAnError) {
    EXPECT_NO_THROW(this->item().unregisterItem());
    EXPECT_FALSE(this->item().isEnabled());
}

TYPED_TEST_P(LoginItemContract, NoticesThatAnotherToolHasTurnedItOff) {
    this->item().registerItem();
    this->subject.turnOffElsewhere();
    EXPECT_FALSE(this->item().isEnabled());
}

TYPED_TEST_P(LoginItemContract, TurnsOnAgainAfterAnotherToolHasTurnedItOff) {
    this->item().registerItem();
    this->subject.turnOffElsewhere();
    this->item().registerItem();
    EXPECT_TRUE(this->item().isEnabled());
    EXPECT_TRUE(this->subject.isStartedAtLogin());
}

TYPED_TEST_P(LoginItemContract, StaysOffIfRegisteringFails) {
    this->subject.setWritable(false);
    EXPECT_THROW(this->item().registerItem(), platform::LoginItemError);
    EXPECT_FALSE(this->item().isEnabled());
}

TYPED_TEST_P(LoginItemContract, StaysOnIfUnregisteringFails) {
    this->item().registerItem();
    this->subject.setWritable(false);
    EXPECT_THROW(this->item().unregisterItem(), platform::LoginItemError);
    EXPECT_TRUE(this->item().isEnabled());
    this->subject.setWritable(true);
    this->item().unregisterItem();
    EXPECT_FALSE(this->item().isEnabled());
}

REGISTER_TYPED_TEST_SUITE_P(LoginItemContract, IsOffAtFirst, IsOnAfterRegistering, CanBeRegisteredTwice,
                            IsOffAfterUnregistering, UnregistersAMissingItemWithoutAnError,
                            NoticesThatAnotherToolHasTurnedItOff, TurnsOnAgainAfterAnotherToolHasTurnedItOff,
                            StaysOffIfRegisteringFails, StaysOnIfUnregisteringFails);

} // namespace sonvale::tests
