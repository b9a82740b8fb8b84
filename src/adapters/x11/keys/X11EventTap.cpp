#include "adapters/x11/keys/X11EventTap.h"

#include "adapters/posix/BrokenPipeGuard.h"
#include "adapters/x11/keys/X11KeyListener.h"

#include "base/Log.h"

#include <pthread.h>
#include <sys/resource.h>

#include <cassert>
#include <csignal>
#include <utility>

namespace sonvale::adapters::x11 {

namespace {

// "com.sonvale.hotkey" in the fifteen bytes that Linux allows.
constexpr const char* threadName = "sonvale.hotkey";
constexpr int threadNiceness = -10;

const base::Logger& logger() {
    static const base::Logger instance("X11EventTap");
    return instance;
}

/// Blocks all signals in a scope, because the main thread handles them.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &former_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t former_;
};

} // namespace

X11EventTap::X11EventTap(const runtime::Clock& clock, std::shared_ptr<SyntheticKeyLedger> ledger,
                         std::string displayName)
    : displayName_(std::move(displayName))
    , clock_(clock)
    , ledger_(std::move(ledger)) {}

X11EventTap::~X11EventTap() {
    stop();
}

bool X11EventTap::probe() {
    const posix::BrokenPipeGuard guard;
    X11Connection connection(displayName_, clock_);
    return useKeyboardExtensions(connection).has_value();
}

bool X11EventTap::start(Callback callback) {
    assert(!listener_);
    listener_ = X11KeyListener::open(displayName_, clock_, *ledger_, std::move(callback), onTaken_);
    if (!listener_)
        return false;
    isStopping_ = false;
    {
        const std::lock_guard lock(mutex_);
        isRunning_ = true;
    }
    applySwallowable();
    const SignalsBlocked blocked;
    thread_ = std::thread([this] { run(); });
    return true;
}

void X11EventTap::stop() {
    if (!listener_)
        return;
    isStopping_ = true;
    // Otherwise a listener that waits for a hung server would block the caller.
    listener_->interrupt();
    wakeUp_.signal();
    thread_.join();
    listener_.reset();
    std::deque<std::function<void()>> dropped;
    const std::lock_guard lock(mutex_);
    isRunning_ = false;
    dropped.swap(blocks_);
}

void X11EventTap::enable() {
    // X11 stops a listener only by ending its connection; the session is then over.
}

void X11EventTap::perform(std::function<void()> block) {
    post(std::move(block));
}

void X11EventTap::setSwallowable(std::vector<platform::KeyCombination> combinations) {
    {
        const std::lock_guard lock(mutex_);
        swallowable_ = std::move(combinations);
    }
    applySwallowable();
}

void X11EventTap::maskHeldKeys() {
    listener_->maskHeldKeys();
}

void X11EventTap::setOnTaken(std::function<void(platform::KeyCombination)> onTaken) {
    onTaken_ = std::move(onTaken);
}

void X11EventTap::applySwallowable() {
    post([this] {
        std::vector<platform::KeyCombination> combinations;
        {
            const std::lock_guard lock(mutex_);
            combinations = swallowable_;
        }
        listener_->setSwallowable(combinations);
    });
}

void X11EventTap::post(std::function<void()> block) {
    const std::lock_guard lock(mutex_);
    if (!isRunning_)
        return;
    blocks_.push_back(std::move(block));
    wakeUp_.signal();
}

void X11EventTap::run() {
    pthread_setname_np(pthread_self(), threadName);
    // Every hotkey waits for this thread. If the user has no right to raise its priority, it keeps the
    // ordinary one.
    setpriority(PRIO_PROCESS, 0, threadNiceness);
    while (!isStopping_) {
        const bool hasRunBlocks = runBlocks();
        if (!listener_->processEvents())
            break;
        // A wait for a reply may have read events; then poll would not report them.
        if (!listener_->runDeadline() && !hasRunBlocks)
            waitForWork();
    }
    if (isStopping_)
        return;
    {
        std::deque<std::function<void()>> dropped;
        const std::lock_guard lock(mutex_);
        isRunning_ = false;
        dropped.swap(blocks_);
    }
    logger().error("the display is gone");
    listener_->reportDisabled();
}

bool X11EventTap::runBlocks() {
    bool hasRun = false;
    while (!isStopping_) {
        std::function<void()> block;
        {
            const std::lock_guard lock(mutex_);
            if (blocks_.empty())
                break;
            block = std::move(blocks_.front());
            blocks_.pop_front();
        }
        block();
        hasRun = true;
    }
    return hasRun;
}

void X11EventTap::waitForWork() {
    listener_->waitForInput(wakeUp_.descriptor());
    wakeUp_.clear();
}

} // namespace sonvale::adapters::x11
