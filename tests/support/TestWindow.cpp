#include "tests/support/TestWindow.h"

#include "tests/support/ChildProcess.h"

#include <cstring>
#include <stdexcept>

namespace sonvale::tests {

TestWindow::TestWindow(const std::string& displayName, Properties properties)
    : session_(displayName) {
    auto* connection = session_.connection();
    window_ = xcb_generate_id(connection);
    xcb_create_window(connection, XCB_COPY_FROM_PARENT, window_, session_.root(), 10, 10, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    if (!properties.instance.empty() || !properties.className.empty()) {
        std::string both = properties.instance + '\0' + properties.className + '\0';
        setText("WM_CLASS", XCB_ATOM_STRING, both);
    }
    if (properties.netName)
        setText("_NET_WM_NAME", session_.atom("UTF8_STRING"), *properties.netName);
    if (properties.oldName)
        setText("WM_NAME", XCB_ATOM_STRING, *properties.oldName);
    if (properties.processIdentifier)
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window_, session_.atom("_NET_WM_PID"),
                            XCB_ATOM_CARDINAL, 32, 1, &*properties.processIdentifier);
    xcb_map_window(connection, window_);
    session_.sync();
    activate();
}

void TestWindow::activate() {
    union {
        xcb_client_message_event_t message;
        char raw[32];
    } event{};
    event.message.response_type = XCB_CLIENT_MESSAGE;
    event.message.format = 32;
    event.message.window = window_;
    event.message.type = session_.atom("_NET_ACTIVE_WINDOW");
    event.message.data.data32[0] = 2; // as a pager sends it, so that it is not refused
    // Sent again, because a request before the window manager knows the window is lost.
    const bool isActive = eventually(20, [&] {
        if (activeWindow(session_) == window_)
            return true;
        xcb_send_event(session_.connection(), 0, session_.root(),
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, event.raw);
        session_.sync();
        return false;
    });
    if (!isActive)
        throw std::runtime_error("the window does not become active");
}

std::size_t TestWindow::managedCount(XcbSession& session) {
    const auto cookie = xcb_get_property(session.connection(), 0, session.root(),
                                         session.atom("_NET_CLIENT_LIST"), XCB_ATOM_WINDOW, 0, 1000);
    std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        xcb_get_property_reply(session.connection(), cookie, nullptr), &std::free);
    return reply ? static_cast<std::size_t>(xcb_get_property_value_length(reply.get())) / sizeof(xcb_window_t)
                 : 0;
}

xcb_window_t TestWindow::activeWindow(XcbSession& session) {
    const auto cookie = xcb_get_property(session.connection(), 0, session.root(),
                                         session.atom("_NET_ACTIVE_WINDOW"), XCB_ATOM_WINDOW, 0, 1);
    std::unique_ptr<xcb_get_property_reply_t, decltype(&std::free)> reply(
        xcb_get_property_reply(session.connection(), cookie, nullptr), &std::free);
    xcb_window_t window = XCB_WINDOW_NONE;
    if (reply && xcb_get_property_value_length(reply.get()) == sizeof window)
        std::memcpy(&window, xcb_get_property_value(reply.get()), sizeof window);
    return window;
}

void TestWindow::setText(const std::string& property, xcb_atom_t type, const std::string& text) {
    xcb_change_property(session_.connection(), XCB_PROP_MODE_REPLACE, window_, session_.atom(property), type,
                        8, static_cast<std::uint32_t>(text.size()), text.data());
}

} // namespace sonvale::tests
