#include "adapters/posix/WakeUp.h"

#include <gtest/gtest.h>
#include <poll.h>

#include <thread>

namespace sonvale::adapters::posix {

namespace {

bool canBeRead(const WakeUp& wakeUp, int milliseconds) {
    pollfd waiting{wakeUp.descriptor(), POLLIN, 0};
    return poll(&waiting, 1, milliseconds) == 1;
}

} // namespace

TEST(WakeUp, CanBeReadFromASignalUntilItIsCleared) {
    const WakeUp wakeUp;
    EXPECT_FALSE(canBeRead(wakeUp, 0));
    wakeUp.signal();
    wakeUp.signal();
    EXPECT_TRUE(canBeRead(wakeUp, 0));
    wakeUp.clear();
    EXPECT_FALSE(canBeRead(wakeUp, 0));
    wakeUp.clear();
    wakeUp.signal();
    EXPECT_TRUE(canBeRead(wakeUp, 0));
}

TEST(WakeUp, WakesAThreadThatWaits) {
    const WakeUp wakeUp;
    bool isWoken = false;
    std::thread waiting([&] { isWoken = canBeRead(wakeUp, 60'000); });
    wakeUp.signal();
    waiting.join();
    EXPECT_TRUE(isWoken);
}

} // namespace sonvale::adapters::posix
