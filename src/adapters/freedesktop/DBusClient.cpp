#include "adapters/freedesktop/DBusClient.h"

#include <algorithm>
#include <cmath>

namespace sonvale::adapters::freedesktop {

DBusMessagePointer dbusCall(const std::string& destination, const std::string& path,
                            const std::string& interface, const std::string& method) {
    DBusMessagePointer call(
        dbus_message_new_method_call(destination.c_str(), path.c_str(), interface.c_str(), method.c_str()));
    dbus_message_set_auto_start(call.get(), FALSE);
    return call;
}

DBusClient::DBusClient(const std::string& address, const runtime::Clock& clock)
    : clock_(clock) {
    // The library's own registration waits for up to 25 s.
    connection_ = dbus_connection_open_private(address.c_str(), nullptr);
    if (connection_)
        hello_ = send(dbusCall(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "Hello").get());
}

DBusClient::~DBusClient() {
    hello_.reset();
    if (!connection_)
        return;
    dbus_connection_close(connection_);
    dbus_connection_unref(connection_);
}

bool DBusClient::isAlive() const {
    return connection_ && dbus_connection_get_is_connected(connection_);
}

std::vector<DBusMessagePointer> DBusClient::ask(const std::vector<DBusMessagePointer>& calls,
                                                double deadline) {
    std::vector<DBusMessagePointer> answers(calls.size());
    if (!isWelcome(deadline) || clock_.now() >= deadline)
        return answers;
    std::vector<Pending> questions;
    questions.reserve(calls.size());
    for (const auto& call : calls)
        questions.push_back(send(call.get()));
    for (std::size_t i = 0; i < questions.size(); ++i) {
        if (waitFor(questions[i].get(), deadline))
            answers[i].reset(dbus_pending_call_steal_reply(questions[i].get()));
        else if (questions[i])
            dbus_pending_call_cancel(questions[i].get());
    }
    return answers;
}

DBusMessagePointer DBusClient::ask(DBusMessagePointer call, double deadline) {
    std::vector<DBusMessagePointer> calls;
    calls.push_back(std::move(call));
    return std::move(ask(calls, deadline).front());
}

void DBusClient::pauseUntil(double deadline) {
    while (isAlive() && readUntil(deadline)) {
    }
}

DBusClient::Pending DBusClient::send(DBusMessage* call) {
    DBusPendingCall* pending = nullptr;
    // Null if the connection has ended.
    dbus_connection_send_with_reply(connection_, call, &pending, DBUS_TIMEOUT_INFINITE);
    return Pending(pending);
}

bool DBusClient::waitFor(DBusPendingCall* pending, double deadline) {
    if (!pending)
        return false;
    while (!dbus_pending_call_get_completed(pending)) {
        if (!readUntil(deadline))
            return false;
    }
    return true;
}

/// Reads up to one message. Returns false at the deadline and if the bus has ended.
bool DBusClient::readUntil(double deadline) {
    const double left = deadline - clock_.now();
    if (left <= 0)
        return false;
    const int milliseconds = static_cast<int>(std::ceil(std::min(left, 1.0) * 1000));
    return dbus_connection_read_write_dispatch(connection_, milliseconds) != FALSE;
}

bool DBusClient::isWelcome(double deadline) {
    if (!isAlive())
        return false;
    if (!hello_)
        return true;
    // Kept for the next call if it takes too long, so that a hanging bus does not get one connection after
    // the other.
    if (!waitFor(hello_.get(), deadline))
        return false;
    const DBusMessagePointer answer(dbus_pending_call_steal_reply(hello_.get()));
    hello_.reset();
    if (answer && dbus_message_get_type(answer.get()) == DBUS_MESSAGE_TYPE_METHOD_RETURN)
        return true;
    dbus_connection_close(connection_);
    return false;
}

} // namespace sonvale::adapters::freedesktop
