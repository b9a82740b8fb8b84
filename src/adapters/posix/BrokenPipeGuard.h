#pragma once

#include <csignal>

namespace sonvale::adapters::posix {

/// While it exists, a write to a lost X server does not end the process: xcb writes without MSG_NOSIGNAL, and
/// the signal goes to the writing thread. Constructed and destroyed on one thread.
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
