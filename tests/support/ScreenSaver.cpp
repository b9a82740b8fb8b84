#include "tests/support/ScreenSaver.h"

#include <dbus/dbus.h>

#include <stdexcept>

namespace sonvale::tests {

namespace {

constexpr const char* name = "org.freedesktop.ScreenSaver";
constexpr const char* path = "/org/freedesktop/ScreenSaver";

} // namespace

struct ScreenSaver::Impl {
    DBusConnection* connection = nullptr;
};

ScreenSaver::ScreenSaver(const std::string& busAddress)
    : impl_(std::make_unique<Impl>()) {
    impl_->connection = dbus_connection_open_private(busAddress.c_str(), nullptr);
    if (!impl_->connection)
        throw std::runtime_error("no bus at " + busAddress);
    dbus_connection_set_exit_on_disconnect(impl_->connection, FALSE);
    if (!dbus_bus_register(impl_->connection, nullptr) ||
        dbus_bus_request_name(impl_->connection, name, 0, nullptr) != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER)
        throw std::runtime_error("the screen saver has no name on the bus");
}

ScreenSaver::~ScreenSaver() {
    dbus_connection_close(impl_->connection);
    dbus_connection_unref(impl_->connection);
}

void ScreenSaver::setActive(bool isActive) {
    auto* report = dbus_message_new_signal(path, name, "ActiveChanged");
    const dbus_bool_t value = isActive ? TRUE : FALSE;
    dbus_message_append_args(report, DBUS_TYPE_BOOLEAN, &value, DBUS_TYPE_INVALID);
    dbus_connection_send(impl_->connection, report, nullptr);
    dbus_message_unref(report);
    dbus_connection_flush(impl_->connection);
}

} // namespace sonvale::tests
