#pragma once

#include "platform/AudioTypes.h"
#include "runtime/Task.h"

#include <mutex>
#include <optional>

namespace sonvale::transcription {

/// The timer that closes a session that was opened ahead, and the format for which it was opened. Any thread.
///
/// `preWarmLock` guards both. It is held for single steps only, and no other lock is taken meanwhile. The
/// destruction cancels the timer.
class PreWarmTimer {
public:
    PreWarmTimer() = default;
    PreWarmTimer(const PreWarmTimer&) = delete;
    PreWarmTimer& operator=(const PreWarmTimer&) = delete;
    ~PreWarmTimer();

    /// Notes that a session is opened ahead for audio of this format.
    void expect(const platform::AudioFormat& inputFormat);

    /// Makes `task` the timer and cancels an earlier one. Cancels `task` if `clear` was called since
    /// `expect`.
    void start(const runtime::TaskHandle<>& task);

    /// Cancels the timer and keeps the format.
    void cancel();

    /// Cancels the timer and forgets the format.
    void clear();

    /// Returns the format of the last `expect`, or nullopt after `clear`.
    std::optional<platform::AudioFormat> format() const;

private:
    mutable std::mutex preWarmLock_; ///< guards all below
    runtime::TaskHandle<> preWarmRefreshTask_;
    std::optional<platform::AudioFormat> cachedInputFormat_; ///< of the last pre-warm
};

} // namespace sonvale::transcription
