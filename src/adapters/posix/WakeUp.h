#pragma once

namespace sonvale::adapters::posix {

/// Wakes a thread that waits for descriptors with poll(2): an eventfd. Any thread.
class WakeUp {
public:
    /// Throws `std::system_error` if there is no free descriptor.
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// Returns the descriptor, which can be read from `signal` until `clear`.
    int descriptor() const { return descriptor_; }
    void signal() const;
    void clear() const;

private:
    const int descriptor_;
};

} // namespace sonvale::adapters::posix
