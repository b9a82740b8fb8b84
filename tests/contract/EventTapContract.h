#pragma once

#include "tests/support/ChildProcess.h"
#include "tests/support/MacKeyCodes.h"
#include "tests/support/TapRecorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// The rules of `platform::EventTap`. `Bench` makes a tap (`tap()`), types on its keyboard by macOS key codes
/// (`down`, `up`), makes the system refuse (`forbid()`) and runs queued work (`settle()`).
template <class Bench>
class EventTapContract : public testing::Test {
protected:
    using Type = platform::KeyEvent::Type;

    EventTapContract() { bench_.tap().setOnTaken(recorder_.onTaken()); }
    ~EventTapContract() override { bench_.tap().stop(); }

    bool start() { return bench_.tap().start(recorder_.callback()); }

    bool isReported(platform::KeyEvent event) {
        return eventually(5, [&] {
            bench_.settle();
            return recorder_.has(event);
        });
    }

    void tapKey(int keyCode) {
        bench_.down(keyCode);
        bench_.up(keyCode);
    }

    Bench bench_;
    TapRecorder recorder_;
};

TYPED_TEST_SUITE_P(EventTapContract);

TYPED_TEST_P(EventTapContract, DoesNotStartIfTheSystemRefuses) {
    this->bench_.forbid();
    EXPECT_FALSE(this->bench_.tap().probe());
    EXPECT_FALSE(this->start());
}

TYPED_TEST_P(EventTapContract, CanBeProbedOnOtherThreadsWhileItStartsAndStops) {
    std::atomic<int> probes = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 10; ++j)
                probes += this->bench_.tap().probe() ? 1 : 0;
        });
    }
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(this->start());
        this->bench_.tap().stop();
    }
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(probes, 30);
}

TYPED_TEST_P(EventTapContract, ReportsKeysByTheirPlace) {
    EXPECT_TRUE(this->bench_.tap().probe());
    ASSERT_TRUE(this->start());
    this->tapKey(mac_key::letterX);
    EXPECT_TRUE(this->isReported({TestFixture::Type::keyDown, mac_key::letterX, 0}));
    EXPECT_TRUE(this->isReported({TestFixture::Type::keyUp, mac_key::letterX, 0}));
}

TYPED_TEST_P(EventTapContract, ReportsEachModifierWithItsFlag) {
    ASSERT_TRUE(this->start());
    const std::pair<int, std::uint64_t> keys[] = {{mac_key::leftOption, platform::modifier::option},
                                                  {mac_key::rightOption, platform::modifier::option},
                                                  {mac_key::leftCommand, platform::modifier::command},
                                                  {mac_key::leftControl, platform::modifier::control},
                                                  {mac_key::leftShift, platform::modifier::shift}};
    for (const auto& [key, flag] : keys) {
        this->recorder_.clear();
        this->bench_.down(key);
        EXPECT_TRUE(this->isReported({TestFixture::Type::flagsChanged, key, flag})) << key;
        this->bench_.up(key);
        EXPECT_TRUE(this->isReported({TestFixture::Type::flagsChanged, key, 0})) << key;
    }
}

TYPED_TEST_P(EventTapContract, KeepsTheFlagWhileOneSideIsHeld) {
    ASSERT_TRUE(this->start());
    this->bench_.down(mac_key::leftOption);
    this->bench_.down(mac_key::rightOption);
    this->bench_.up(mac_key::leftOption);
    EXPECT_TRUE(
        this->isReported({TestFixture::Type::flagsChanged, mac_key::leftOption, platform::modifier::option}));
    this->tapKey(mac_key::letterX);
    EXPECT_TRUE(this->isReported({TestFixture::Type::keyDown, mac_key::letterX, platform::modifier::option}));
    this->bench_.up(mac_key::rightOption);
    EXPECT_TRUE(this->isReported({TestFixture::Type::flagsChanged, mac_key::rightOption, 0}));
}

TYPED_TEST_P(EventTapContract, RunsBlocksInOrderAndOnlyWhileRunning) {
    std::atomic<int> sum = 0;
    this->bench_.tap().perform([&] { sum += 1000; });
    ASSERT_TRUE(this->start());
    this->bench_.tap().perform([&] { sum = sum * 10 + 1; });
    this->bench_.tap().perform([&] { sum = sum * 10 + 2; });
    EXPECT_TRUE(eventually(5, [&] {
        this->bench_.settle();
        return sum == 12;
    }));
    this->bench_.tap().stop();
    this->bench_.tap().perform([&] { sum = -1; });
    this->bench_.settle();
    EXPECT_EQ(sum, 12);
}

TYPED_TEST_P(EventTapContract, IsSilentAfterStopAndCanBeStartedAgain) {
    ASSERT_TRUE(this->start());
    this->tapKey(mac_key::letterX);
    ASSERT_TRUE(this->isReported({TestFixture::Type::keyUp, mac_key::letterX, 0}));
    this->bench_.tap().stop();
    this->bench_.tap().stop();
    this->recorder_.clear();
    this->tapKey(mac_key::letterX);
    EXPECT_TRUE(this->recorder_.events().empty());
    ASSERT_TRUE(this->start());
    this->tapKey(mac_key::space);
    EXPECT_TRUE(this->isReported({TestFixture::Type::keyDown, mac_key::space, 0}));
    EXPECT_FALSE(this->recorder_.has({TestFixture::Type::keyDown, mac_key::letterX, 0}));
}

TYPED_TEST_P(EventTapContract, SwallowsOnlySwallowableKeysThatTheCallbackSwallows) {
    const platform::KeyCombination optionSpace{mac_key::space, platform::modifier::option};
    this->bench_.tap().setSwallowable({optionSpace});
    ASSERT_TRUE(this->start());
    this->bench_.waitForSwallowables();
    this->recorder_.setDecide([](const platform::KeyEvent&) { return platform::KeyVerdict::swallow; });

    this->bench_.down(mac_key::leftOption);
    EXPECT_FALSE(this->bench_.reachesApplication(mac_key::space));
    EXPECT_TRUE(this->bench_.reachesApplication(mac_key::letterX)) << "it is not swallowable";
    this->recorder_.setDecide({});
    EXPECT_TRUE(this->bench_.reachesApplication(mac_key::space)) << "the callback passes it";
    this->recorder_.swallow(optionSpace);
    EXPECT_FALSE(this->bench_.reachesApplication(mac_key::space));
    this->bench_.up(mac_key::leftOption);
    EXPECT_TRUE(this->bench_.reachesApplication(mac_key::space)) << "without its modifier it is another key";
    EXPECT_TRUE(
        this->recorder_.has({TestFixture::Type::keyDown, mac_key::space, platform::modifier::option}));

    this->bench_.tap().setSwallowable({});
    this->bench_.waitForSwallowables();
    this->bench_.down(mac_key::leftOption);
    EXPECT_TRUE(this->bench_.reachesApplication(mac_key::space)) << "it is not swallowable any more";
    this->bench_.up(mac_key::leftOption);
    EXPECT_TRUE(this->recorder_.taken().empty());
}

TYPED_TEST_P(EventTapContract, ReportsATakenCombinationOnce) {
    const platform::KeyCombination optionSpace{mac_key::space, platform::modifier::option};
    this->bench_.takeForGood(optionSpace);
    ASSERT_TRUE(this->start());
    this->bench_.tap().setSwallowable({optionSpace});
    const auto isReported = [&](std::size_t times) {
        return eventually(10, [&] {
            this->bench_.touch(optionSpace);
            return this->recorder_.taken().size() >= times;
        });
    };
    ASSERT_TRUE(isReported(1));
    EXPECT_EQ(this->recorder_.taken().front(), optionSpace);
    this->bench_.touch(optionSpace);
    this->bench_.touch(optionSpace);
    EXPECT_EQ(this->recorder_.taken().size(), 1u);

    this->bench_.tap().setSwallowable({optionSpace});
    EXPECT_TRUE(isReported(2));
}

REGISTER_TYPED_TEST_SUITE_P(EventTapContract, DoesNotStartIfTheSystemRefuses,
                            CanBeProbedOnOtherThreadsWhileItStartsAndStops, ReportsKeysByTheirPlace,
                            ReportsEachModifierWithItsFlag, KeepsTheFlagWhileOneSideIsHeld,
                            RunsBlocksInOrderAndOnlyWhileRunning, IsSilentAfterStopAndCanBeStartedAgain,
                            SwallowsOnlySwallowableKeysThatTheCallbackSwallows, ReportsATakenCombinationOnce);

} // namespace sonvale::tests
