#pragma once

#include "adapters/posix/WakeUp.h"
#include "adapters/x11/keys/SyntheticKeyLedger.h"

#include "platform/EventTap.h"
#include "runtime/Clock.h"

#include <atomic>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace sonvale::adapters::x11 {

class X11KeyListener;

/// The key tap on X11.
///
/// Limits of X11: the release of a swallowed key still reaches the application, without its press; programs
/// ignore such a release. A key whose modifier the program itself has released for a paste is passed, because
/// the server no longer sees the combination. A swallowable combination that the callback passes goes to the
/// focused application, even if another program has bound it. From its press until the callback has answered,
/// the whole keyboard is frozen. If the connection to the display ends, the callback gets `tapDisabled` once
/// and the thread ends; `enable()` cannot restore it.
class X11EventTap final : public platform::EventTap {
public:
    /// An empty name means the display of the environment. `ledger` is shared with the program's
    /// `X11SyntheticInput`.
    X11EventTap(const runtime::Clock& clock, std::shared_ptr<SyntheticKeyLedger> ledger,
                std::string displayName = {});
    ~X11EventTap() override;

    bool probe() override;
    bool start(Callback callback) override;
    void stop() override;
    void enable() override;
    void perform(std::function<void()> block) override;
    void setSwallowable(std::vector<platform::KeyCombination> combinations) override;
    void maskHeldKeys() override;
    void setOnTaken(std::function<void(platform::KeyCombination)> onTaken) override;

private:
    void run();
    bool runBlocks();
    void waitForWork();
    void post(std::function<void()> block);
    void applySwallowable();

    const std::string displayName_;
    const runtime::Clock& clock_;
    const std::shared_ptr<SyntheticKeyLedger> ledger_;
    std::function<void(platform::KeyCombination)> onTaken_;

    const posix::WakeUp wakeUp_;
    std::unique_ptr<X11KeyListener> listener_;
    std::thread thread_;
    std::atomic<bool> isStopping_ = false;

    std::mutex mutex_; ///< guards the fields below
    bool isRunning_ = false;
    std::deque<std::function<void()>> blocks_;
    std::vector<platform::KeyCombination> swallowable_;
};

} // namespace sonvale::adapters::x11
