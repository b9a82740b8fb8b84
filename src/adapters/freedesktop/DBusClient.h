#pragma once

#include "runtime/Clock.h"

#include <dbus/dbus.h>

#include <memory>
#include <string>
#include <vector>

namespace sonvale::adapters::freedesktop {

struct UnrefMessage {
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using DBusMessagePointer = std::unique_ptr<DBusMessage, UnrefMessage>;

/// Makes a call of a method. Arguments can be added to it.
DBusMessagePointer dbusCall(const std::string& destination, const std::string& path,
                            const std::string& interface, const std::string& method);

/// A private connection to a message bus. Every wait has a deadline.
///
/// It receives only answers, so that an unused connection costs only its descriptor. One thread at a time.
/// Deadlines are moments of the clock's `now()`.
class DBusClient {
public:
    /// Connects, without waiting for the bus to answer.
    DBusClient(const std::string& address, const runtime::Clock& clock);
    ~DBusClient();
    DBusClient(const DBusClient&) = delete;
    DBusClient& operator=(const DBusClient&) = delete;

    /// Returns false if there is no bus, and as soon as its end is noticed.
    bool isAlive() const;

    /// Sends all calls at once and waits for their answers, which may be errors. An answer that has not
    /// arrived by the deadline is null. No call starts a program.
    std::vector<DBusMessagePointer> ask(const std::vector<DBusMessagePointer>& calls, double deadline);
    DBusMessagePointer ask(DBusMessagePointer call, double deadline);

    /// Reads messages until the deadline. Returns early if the bus has ended.
    void pauseUntil(double deadline);

private:
    struct UnrefPending {
        void operator()(DBusPendingCall* pending) const { dbus_pending_call_unref(pending); }
    };
    using Pending = std::unique_ptr<DBusPendingCall, UnrefPending>;

    Pending send(DBusMessage* call);
    bool waitFor(DBusPendingCall* pending, double deadline);
    bool readUntil(double deadline);
    bool isWelcome(double deadline);

    const runtime::Clock& clock_;
    DBusConnection* connection_ = nullptr;
    Pending hello_; ///< kept until the bus has answered it
};

} // namespace sonvale::adapters::freedesktop
