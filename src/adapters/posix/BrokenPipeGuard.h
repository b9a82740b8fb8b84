#pragma once

#include <csignal>

namespace sonvale::adapters::posix {

/// While it lives, writing to an X server that has gone does not end the process: xcb writes without
/// MSG_NOSIGNAL, and the signal goes to the thread that writes. Begins and ends on one thread.
class BrokenPipeGuard {
public:
    BrokenPipeGuard();
    ~BrokenPipeGuard();
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

private:
    sigset_t former_;
    bool wasPending_ = false;
};

} // namespace sonvale::adapters::posix
