#include "tests/support/XcbSession.h"

#include "tests/support/ChildProcess.h"

#include <poll.h>

#include <stdexcept>

namespace sonvale::tests {

XcbSession::XcbSession(const std::string& displayName) {
    connection_ = xcb_connect(displayName.c_str(), nullptr);
    if (xcb_connection_has_error(connection_))
        throw std::runtime_error("no X server " + displayName);
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    window_ = xcb_generate_id(connection_);
    const std::uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(connection_, XCB_COPY_FROM_PARENT, window_, root_, 0, 0, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mask);
    sync();
}

XcbSession::~XcbSession() {
    xcb_disconnect(connection_);
}

xcb_atom_t XcbSession::atom(const std::string& name) {
    const auto cookie = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(name.size()), name.data());
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        xcb_intern_atom_reply(connection_, cookie, nullptr), &std::free);
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::string XcbSession::name(xcb_atom_t atom) {
    if (atom == XCB_ATOM_NONE)
        return {};
    std::unique_ptr<xcb_get_atom_name_reply_t, decltype(&std::free)> reply(
        xcb_get_atom_name_reply(connection_, xcb_get_atom_name(connection_, atom), nullptr), &std::free);
    if (!reply)
        return {};
    return {xcb_get_atom_name_name(reply.get()),
            static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

xcb_window_t XcbSession::owner(const std::string& selection) {
    std::unique_ptr<xcb_get_selection_owner_reply_t, decltype(&std::free)> reply(
        xcb_get_selection_owner_reply(connection_, xcb_get_selection_owner(connection_, atom(selection)),
                                      nullptr),
        &std::free);
    return reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
}

xcb_timestamp_t XcbSession::timestamp() {
    const auto property = atom("_TEST_TIMESTAMP");
    xcb_change_property(connection_, XCB_PROP_MODE_APPEND, window_, property, XCB_ATOM_INTEGER, 32, 0,
                        nullptr);
    while (const auto event = waitForEvent(5)) {
        if ((event->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
            continue;
        const auto& change = reinterpret_cast<const xcb_property_notify_event_t&>(*event);
        if (change.atom == property)
            return change.time;
    }
    throw std::runtime_error("the X server does not tell the time");
}

void XcbSession::sync() {
    std::free(xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
}

TestEvent XcbSession::waitForEvent(double seconds) {
    xcb_flush(connection_);
    const double end = monotonicSeconds() + seconds;
    while (true) {
        TestEvent event(xcb_poll_for_event(connection_), &std::free);
        const double left = end - monotonicSeconds();
        if (event || left <= 0 || xcb_connection_has_error(connection_))
            return event;
        pollfd waiting{xcb_get_file_descriptor(connection_), POLLIN, 0};
        poll(&waiting, 1, static_cast<int>(left * 1000) + 1);
    }
}

XcbSession::Property XcbSession::takeProperty(xcb_window_t window, xcb_atom_t property) {
    const auto cookie =
        xcb_get_property(connection_, 1, window, property, XCB_GET_PROPERTY_TYPE_ANY, 0, 0x1fffffff);
    std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        xcb_get_property_reply(connection_, cookie, nullptr), &std::free);
    if (!reply)
        return {};
    const auto* data = static_cast<const std::byte*>(xcb_get_property_value(reply.get()));
    return {name(reply->type), reply->format, {data, data + xcb_get_property_value_length(reply.get())}};
}

std::vector<std::byte> bytes(const std::string& text) {
    const auto* data = reinterpret_cast<const std::byte*>(text.data());
    return {data, data + text.size()};
}

std::vector<std::byte> manyBytes(std::size_t count) {
    std::vector<std::byte> data(count);
    std::uint32_t state = 12345;
    for (auto& byte : data) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<std::byte>(state >> 24);
    }
    return data;
}

} // namespace sonvale::tests
