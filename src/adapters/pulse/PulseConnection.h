#pragma once

#include "platform/AudioTypes.h"

#include <pulse/pulseaudio.h>

#include <memory>
#include <optional>
#include <string>

namespace sonvale::adapters::pulse {

/// A real input of a sound server: any source that is not the monitor of an output.
struct PulseInput {
    std::string source; ///< empty means the server's default source
    pa_sample_spec sampleSpec{};
    pa_channel_map channelMap{};
};

struct PulseOperationEnd {
    void operator()(pa_operation* operation) const {
        pa_operation_cancel(operation);
        pa_operation_unref(operation);
    }
};
/// A request to the server. Its callback never runs after its destruction. Handled under the connection's
/// lock.
using PulseOperation = std::unique_ptr<pa_operation, PulseOperationEnd>;

/// A connection to a sound server, and the thread that serves it.
///
/// Belongs to the thread that made it. libpulse calls back on the connection's own thread with its lock held.
/// A caller that sets a callback must remove it, under the lock, before it destroys what the callback uses.
class PulseConnection {
public:
    /// Holds the connection's lock, which every call of libpulse needs.
    class Lock {
    public:
        explicit Lock(PulseConnection& connection);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* loop_;
    };

    /// The time limit of one wait or of several waits together. Made and destroyed under the lock.
    class TimeLimit {
    public:
        TimeLimit(PulseConnection& connection, double seconds);
        ~TimeLimit();
        TimeLimit(const TimeLimit&) = delete;
        TimeLimit& operator=(const TimeLimit&) = delete;
        bool isOver() const { return isOver_; }

    private:
        PulseConnection& connection_;
        pa_time_event* event_;
        bool isOver_ = false;
    };

    enum class Outcome { connected, refused, unreachable };

    /// `server` has the form of PULSE_SERVER; empty means the user's server.
    explicit PulseConnection(std::string server);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Connects. Must be called once, before all other operations, without the lock. Never starts a server.
    Outcome connect(double seconds);

    /// Returns the default source if it is a real input, else the first real input. Returns nullopt if there
    /// is none, or if the server does not answer. Called without the lock.
    std::optional<PulseInput> findInput(double seconds);

    /// Waits, under the lock, until `condition` holds, and returns whether it does. Checks it after every
    /// `signal()` and when the time is over.
    template <class Condition>
    bool waitUntil(const TimeLimit& limit, Condition condition) {
        while (!condition()) {
            if (limit.isOver())
                return false;
            pa_threaded_mainloop_wait(loop_);
        }
        return true;
    }

    /// Wakes the waiting thread. Called from callbacks.
    void signal() { pa_threaded_mainloop_signal(loop_, 0); }

    /// Null if the machine could not provide a thread or memory for it.
    pa_context* context() { return context_; }

    bool isAlive() const;

    /// Returns the text of the last error that libpulse reported. Called under the lock.
    std::string lastError() const;

private:
    std::string server_;
    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    bool isLoopRunning_ = false;
};

} // namespace sonvale::adapters::pulse
