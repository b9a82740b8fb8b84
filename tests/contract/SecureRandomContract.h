#pragma once

#include "platform/SecureRandom.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <thread>
#include <vector>

namespace sonvale::tests {

/// The rules of `platform::SecureRandom`.
template <class Source>
class SecureRandomContract : public testing::Test {
protected:
    Source source_;
};

TYPED_TEST_SUITE_P(SecureRandomContract);

TYPED_TEST_P(SecureRandomContract, FillsAnEmptySpan) {
    EXPECT_EQ(this->source_.fill({}), 0);
}

TYPED_TEST_P(SecureRandomContract, FillsExactlyTheGivenBytes) {
    // A random byte is zero in one of 256 rounds; it is never zero in all of 40 rounds.
    bool firstChanged = false;
    bool lastChanged = false;
    for (int round = 0; round < 40; ++round) {
        std::vector<std::byte> bytes(1002);
        ASSERT_EQ(this->source_.fill(std::span(bytes).subspan(1, 1000)), 0);
        firstChanged |= bytes[1] != std::byte{0};
        lastChanged |= bytes[1000] != std::byte{0};
        ASSERT_EQ(bytes[0], std::byte{0});
        ASSERT_EQ(bytes[1001], std::byte{0});
    }
    EXPECT_TRUE(firstChanged);
    EXPECT_TRUE(lastChanged);
}

TYPED_TEST_P(SecureRandomContract, GivesDifferentBytesAtEveryCall) {
    std::set<std::vector<std::byte>> seen;
    for (int round = 0; round < 100; ++round) {
        std::vector<std::byte> bytes(16);
        ASSERT_EQ(this->source_.fill(bytes), 0);
        seen.insert(bytes);
    }
    EXPECT_EQ(seen.size(), 100U);
}

TYPED_TEST_P(SecureRandomContract, SpreadsItsBytesEvenly) {
    std::vector<std::byte> bytes(256 * 400);
    ASSERT_EQ(this->source_.fill(bytes), 0);
    std::vector<int> counts(256);
    for (const auto byte : bytes)
        ++counts[static_cast<std::size_t>(byte)];
    // 400 of each value on average; the standard deviation is 20.
    EXPECT_GT(*std::ranges::min_element(counts), 250);
    EXPECT_LT(*std::ranges::max_element(counts), 550);
}

TYPED_TEST_P(SecureRandomContract, FillsMoreThanOneCallOfTheSystemGives) {
    std::vector<std::byte> bytes((33U << 20) + 7);
    ASSERT_EQ(this->source_.fill(bytes), 0);
    const auto tail = std::span(bytes).last(64);
    EXPECT_TRUE(std::ranges::any_of(tail, [](std::byte byte) { return byte != std::byte{0}; }));
}

TYPED_TEST_P(SecureRandomContract, ServesSeveralThreads) {
    std::vector<std::vector<std::byte>> results(4, std::vector<std::byte>(32));
    std::vector<int> statuses(results.size(), -1);
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < results.size(); ++i)
            threads.emplace_back([&, i] { statuses[i] = this->source_.fill(results[i]); });
    }
    EXPECT_EQ(statuses, std::vector<int>(results.size(), 0));
    EXPECT_EQ(std::set(results.begin(), results.end()).size(), results.size());
}

REGISTER_TYPED_TEST_SUITE_P(SecureRandomContract, FillsAnEmptySpan, FillsExactlyTheGivenBytes,
                            GivesDifferentBytesAtEveryCall, SpreadsItsBytesEvenly,
                            FillsMoreThanOneCallOfTheSystemGives, ServesSeveralThreads);

} // namespace sonvale::tests
