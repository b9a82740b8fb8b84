#include "transcription/PreWarmTimer.h"

#include <utility>

namespace sonvale::transcription {

PreWarmTimer::~PreWarmTimer() {
    preWarmRefreshTask_.cancel();
}

void PreWarmTimer::expect(const platform::AudioFormat& inputFormat) {
    const std::lock_guard lock(preWarmLock_);
    cachedInputFormat_ = inputFormat;
}

void PreWarmTimer::start(const runtime::TaskHandle<>& task) {
    runtime::TaskHandle<> unneeded = task;
    {
        const std::lock_guard lock(preWarmLock_);
        // A recording may have started to use the session as soon as it was open. Then the timer must not
        // close it.
        if (cachedInputFormat_)
            unneeded = std::exchange(preWarmRefreshTask_, task);
    }
    unneeded.cancel();
}

void PreWarmTimer::cancel() {
    runtime::TaskHandle<> refreshTask;
    {
        const std::lock_guard lock(preWarmLock_);
        refreshTask = std::exchange(preWarmRefreshTask_, {});
    }
    refreshTask.cancel();
}

void PreWarmTimer::clear() {
    runtime::TaskHandle<> refreshTask;
    {
        const std::lock_guard lock(preWarmLock_);
        refreshTask = std::exchange(preWarmRefreshTask_, {});
        cachedInputFormat_.reset();
    }
    refreshTask.cancel();
}

std::optional<platform::AudioFormat> PreWarmTimer::format() const {
    const std::lock_guard lock(preWarmLock_);
    return cachedInputFormat_;
}

} // namespace sonvale::transcription
