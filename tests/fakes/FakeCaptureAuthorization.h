#pragma once

#include "platform/CaptureAuthorization.h"

#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// A permission that a test gives and removes. A request is answered with the present status, unless the test
/// shows a prompt.
class FakeCaptureAuthorization final : public platform::CaptureAuthorization {
public:
    /// The operations for tests. Any thread.
    class Control {
    public:
        void setStatus(platform::CaptureStatus status) {
            const std::lock_guard lock(mutex_);
            status_ = status;
        }
        void setRecordPermission(platform::RecordPermission permission) {
            const std::lock_guard lock(mutex_);
            recordPermission_ = permission;
        }
        /// Sets a function that runs inside each question for the status.
        void setOnStatus(std::function<void()> onStatus) {
            const std::lock_guard lock(mutex_);
            onStatus_ = std::move(onStatus);
        }
        /// Makes later requests wait for `answer`.
        void showPrompt() {
            const std::lock_guard lock(mutex_);
            isPromptShown_ = true;
        }
        /// Answers all waiting requests, on the caller's thread.
        void answer(bool isGranted) {
            std::vector<std::function<void(bool)>> waiting;
            {
                const std::lock_guard lock(mutex_);
                waiting.swap(waiting_);
            }
            for (const auto& each : waiting)
                each(isGranted);
        }
        /// Returns the number of questions for the status.
        int queries() const {
            const std::lock_guard lock(mutex_);
            return queries_;
        }
        /// Returns the number of requests to the user.
        int requests() const {
            const std::lock_guard lock(mutex_);
            return requests_;
        }

    private:
        friend class FakeCaptureAuthorization;
        mutable std::mutex mutex_;
        platform::CaptureStatus status_ = platform::CaptureStatus::authorized;
        platform::RecordPermission recordPermission_ = platform::RecordPermission::undetermined;
        std::function<void()> onStatus_;
        bool isPromptShown_ = false;
        std::vector<std::function<void(bool)>> waiting_;
        int queries_ = 0;
        int requests_ = 0;
    };

    platform::CaptureStatus status() override {
        std::function<void()> onStatus;
        {
            const std::lock_guard lock(control_.mutex_);
            ++control_.queries_;
            onStatus = control_.onStatus_;
        }
        if (onStatus)
            onStatus();
        const std::lock_guard lock(control_.mutex_);
        return control_.status_;
    }

    platform::RecordPermission recordPermission() override {
        const std::lock_guard lock(control_.mutex_);
        return control_.recordPermission_;
    }

    void requestRecordPermission(std::function<void(bool isGranted)> answer) override {
        std::optional<bool> isGranted;
        {
            const std::lock_guard lock(control_.mutex_);
            ++control_.requests_;
            if (control_.isPromptShown_)
                control_.waiting_.push_back(answer);
            else
                isGranted = control_.status_ == platform::CaptureStatus::authorized;
        }
        if (isGranted)
            answer(*isGranted);
    }

    Control& control() { return control_; }

private:
    Control control_;
};

} // namespace sonvale::tests
