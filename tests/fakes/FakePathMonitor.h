#pragma once

#include "platform/PathMonitor.h"

#include <functional>
#include <utility>

namespace sonvale::tests {

/// A link whose state a test reports.
class FakePathMonitor final : public platform::PathMonitor {
public:
    /// The operations for tests.
    class Control {
    public:
        bool isStarted() const { return handler_ != nullptr; }
        /// Reports a path on the calling thread.
        void report(const platform::NetworkPath& path) {
            if (handler_)
                handler_(path);
        }

    private:
        friend class FakePathMonitor;
        std::function<void(const platform::NetworkPath&)> handler_;
    };

    Control& control() { return control_; }

    void start(std::function<void(const platform::NetworkPath&)> handler) override {
        control_.handler_ = std::move(handler);
    }
    void cancel() override { control_.handler_ = nullptr; }

private:
    Control control_;
};

} // namespace sonvale::tests
