#include "services/SharedUrlSession.h"

#include "tests/fakes/FakeUrlSessions.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace sonvale::services {

TEST(SharedUrlSession, IsMadeOnceAtItsFirstUse) {
    tests::FakeUrlSessions sessions;
    SharedUrlSession shared(sessions);
    EXPECT_TRUE(sessions.control().sessions().empty());
    const auto* first = &shared.get();
    EXPECT_EQ(&shared.get(), first);
    EXPECT_EQ(sessions.control().sessions().size(), 1U);
}

TEST(SharedUrlSession, IsTheSameForAllThreads) {
    tests::FakeUrlSessions sessions;
    SharedUrlSession shared(sessions);
    std::vector<platform::UrlSession*> seen(4);
    {
        std::vector<std::jthread> threads;
        for (auto& place : seen)
            threads.emplace_back([&shared, &place] { place = &shared.get(); });
    }
    EXPECT_EQ(std::set(seen.begin(), seen.end()).size(), 1U);
    EXPECT_EQ(sessions.control().sessions().size(), 1U);
}

} // namespace sonvale::services
