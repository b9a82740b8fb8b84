#include "adapters/posix/BrokenPipeGuard.h"

#include <ctime>

namespace sonvale::adapters::posix {

namespace {

sigset_t brokenPipe() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

bool isBrokenPipePending() {
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGPIPE) == 1;
}

} // namespace

BrokenPipeGuard::BrokenPipeGuard()
    : wasPending_(isBrokenPipePending()) {
    const auto signals = brokenPipe();
    pthread_sigmask(SIG_BLOCK, &signals, &former_);
}

BrokenPipeGuard::~BrokenPipeGuard() {
    // Removes the signal before it can be delivered, unless one was already pending.
    if (!wasPending_ && isBrokenPipePending()) {
        const auto signals = brokenPipe();
        const timespec atOnce{0, 0};
        sigtimedwait(&signals, nullptr, &atOnce);
    }
    pthread_sigmask(SIG_SETMASK, &former_, nullptr);
}

} // namespace sonvale::adapters::posix
