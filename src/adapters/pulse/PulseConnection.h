#pragma once

#include "platform/AudioTypes.h"

#include <pulse/pulseaudio.h>

#include <memory>
#include <optional>
#include <string>

namespace sonvale::adapters::pulse {

/// A real input of a sound server: any source that is not the monitor of an output.
struct PulseInput {
    std::string source; ///< empty: the server's default source, whichever that is
    pa_sample_spec sampleSpec{};
    pa_channel_map channelMap{};
};

struct PulseOperationEnd {
    void operator()(pa_operation* operation) const {
        pa_operation_cancel(operation);
        pa_operation_unref(operation);
    }
};
/// A request to the server; its callback never runs once this has gone. Handled under the connection's lock.
using PulseOperation = std::unique_ptr<pa_operation, PulseOperationEnd>;

/// A connection to a sound server and the thread that serves it, for as long as it is needed.
///
/// Belongs to the thread that made it. libpulse calls back on the connection's own thread with its lock held;
/// whoever sets a callback takes it away, under the lock, before what it refers to goes.
class PulseConnection {
public:
    /// Holds the connection's lock, which libpulse wants for every call.
    class Lock {
    public:
        explicit Lock(PulseConnection& connection);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* loop_;
    };

    /// The end of a wait, or of several waits together. Made and destroyed under the lock.
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

    /// `server` as in PULSE_SERVER; empty: the user's own.
    explicit PulseConnection(std::string server);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    /// Once, first of all, without the lock. Never starts a server.
    Outcome connect(double seconds);

    /// The default source when it is a real input, else the first real input; none when there is none, or
    /// when the server does not say. Without the lock.
    std::optional<PulseInput> findInput(double seconds);

    /// Waits, under the lock, until `condition` holds; returns whether it does. It is looked at whenever
    /// something called `signal()`, and when the time is over.
    template <class Condition>
    bool waitUntil(const TimeLimit& limit, Condition condition) {
        while (!condition()) {
            if (limit.isOver())
                return false;
            pa_threaded_mainloop_wait(loop_);
        }
        return true;
    }

    /// Wakes the waiting thread; from callbacks.
    void signal() { pa_threaded_mainloop_signal(loop_, 0); }

    /// Absent when the machine could not give a thread or memory for it.
    pa_context* context() { return context_; }

    bool isAlive() const;

    /// Words of the last error that libpulse reported; under the lock.
    std::string lastError() const;

private:
    std::string server_;
    pa_threaded_mainloop* loop_ = nullptr;
    pa_context* context_ = nullptr;
    bool isLoopRunning_ = false;
};

} // namespace sonvale::adapters::pulse
