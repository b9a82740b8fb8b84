#pragma once

#include "platform/SecureRandom.h"

#include <mutex>
#include <random>
#include <vector>

namespace sonvale::tests {

/// A random source whose bytes are the same in every run, and which fails if a test says so.
class FakeSecureRandom final : public platform::SecureRandom {
public:
    /// The operations for tests. Any thread.
    class Control {
    public:
        /// Makes later calls fail with this status; 0 ends that.
        void failWith(std::int32_t status) {
            const std::lock_guard lock(mutex_);
            status_ = status;
        }
        /// Returns the requested sizes so far, in order.
        std::vector<std::size_t> requests() const {
            const std::lock_guard lock(mutex_);
            return requests_;
        }
        /// Returns all bytes so far, in order.
        std::vector<std::byte> given() const {
            const std::lock_guard lock(mutex_);
            return given_;
        }

    private:
        friend class FakeSecureRandom;
        mutable std::mutex mutex_;
        std::int32_t status_ = 0;
        std::vector<std::size_t> requests_;
        std::vector<std::byte> given_;
        std::mt19937_64 engine_{1};
    };

    Control& control() { return control_; }

    std::int32_t fill(std::span<std::byte> bytes) override {
        const std::lock_guard lock(control_.mutex_);
        control_.requests_.push_back(bytes.size());
        if (control_.status_ != 0)
            return control_.status_;
        for (auto& byte : bytes)
            byte = static_cast<std::byte>(control_.engine_());
        control_.given_.insert(control_.given_.end(), bytes.begin(), bytes.end());
        return 0;
    }

private:
    Control control_;
};

} // namespace sonvale::tests
