#include "runtime/SystemClock.h"

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <mutex>
#include <string>

namespace {

/// Returns the kernel's number of the clock of this process's only timer, or -1 without one.
int clockOfTheTimer() {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code failure;
        if (std::filesystem::read_symlink(entry, failure) != "anon_inode:[timerfd]")
            continue;
        std::ifstream info("/proc/self/fdinfo/" + entry.path().filename().string());
        for (std::string word; info >> word;) {
            int number = -1;
            if (word == "clockid:" && info >> number)
                return number;
        }
    }
    return -1;
}

} // namespace

/// A program that only uses the system's clock: it prints the time, the time asleep, the clock of its timers,
/// and the duration of a timer of 50 ms.
int main() {
    sonvale::runtime::SystemClock clock;
    std::cout.precision(15);
    std::cout << clock.now() << ' ' << clock.secondsAsleep() << ' ' << clockOfTheTimer() << ' ';

    std::mutex mutex;
    std::condition_variable changed;
    bool isDue = false;
    const double start = clock.now();
    clock.schedule(0.05, [&] {
        const std::lock_guard lock(mutex);
        isDue = true;
        changed.notify_all();
    });
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return isDue; });
    std::cout << clock.now() - start << std::endl;
}
