#include "base/Observed.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace sonvale::base {

TEST(Observed, NotifiesIfTheValueChangesOnly) {
    Observed<std::string> text{"a"};
    std::vector<std::string> heard;
    const auto subscription = text.subscribe([&](const std::string& value) { heard.push_back(value); });

    EXPECT_FALSE(text.set("a"));
    EXPECT_TRUE(text.set("b"));
    EXPECT_FALSE(text.set("b"));

    EXPECT_EQ(heard, std::vector<std::string>{"b"});
}

TEST(Observed, EndsTheSubscriptionWithItsHandle) {
    Observed<int> number{0};
    int heard = 0;
    {
        const auto subscription = number.subscribe([&](int) { ++heard; });
        number = 1;
    }
    number = 2;
    EXPECT_EQ(heard, 1);
}

TEST(Observed, SkipsAnObserverThatAnotherOneEndsDuringTheNotification) {
    Observed<int> number{0};
    int heard = 0;
    Subscription second;
    const auto first = number.subscribe([&](int) { second.reset(); });
    second = number.subscribe([&](int) { ++heard; });
    number = 1;
    EXPECT_EQ(heard, 0);
}

TEST(Observed, MayBeDestroyedBeforeItsSubscriptions) {
    auto number = std::make_unique<Observed<int>>(0);
    auto owned = std::make_shared<int>(0);
    const std::weak_ptr<int> held = owned;
    auto first = number->subscribe([owned](int) {});
    const auto second = number->subscribe([owned = std::move(owned)](int) {});
    EXPECT_FALSE(held.expired());
    first.reset();
    EXPECT_FALSE(held.expired());
    number.reset();
    EXPECT_TRUE(held.expired());
}

} // namespace sonvale::base
