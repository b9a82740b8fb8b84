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

/// A call of a method; its arguments can be added.
DBusMessagePointer dbusCall(const std::string& destination, const std::string& path,
                            const std::string& interface, const std::string& method);

/// A connection of its own to a message bus, in which every wait has an end.
///
/// It receives answers only, so that an unused one costs nothing but its descriptor. One thread at a time.
/// Deadlines are moments of the clock's `now()`.
class DBusClient {
public:
    /// Connects, without waiting for the bus to answer.
    DBusClient(const std::string& address, const runtime::Clock& clock);
    ~DBusClient();
    DBusClient(const DBusClient&) = delete;
    DBusClient& operator=(const DBusClient&) = delete;

    /// False when there is no bus, and as soon as it is noticed that it has gone.
    bool isAlive() const;

    /// Sends all calls at once and waits for their answers, errors among them; null in the place of one that
    /// has not come by the deadline. No call starts a program.
    std::vector<DBusMessagePointer> ask(const std::vector<DBusMessagePointer>& calls, double deadline);
    DBusMessagePointer ask(DBusMessagePointer call, double deadline);

    /// Takes in what comes until then; returns early when the bus has gone.
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
    Pending hello_; ///< until the bus has answered it
};

} // namespace sonvale::adapters::freedesktop
