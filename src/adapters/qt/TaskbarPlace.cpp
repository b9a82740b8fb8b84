#include "adapters/qt/TaskbarPlace.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <vector>

namespace sonvale::adapters::qt {

namespace {

template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

xcb_connection_t* x11Connection() {
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const ReplyPointer<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr),
                                                      std::free);
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

struct Atoms {
    explicit Atoms(xcb_connection_t* connection)
        : state(atom(connection, "_NET_WM_STATE"))
        , skips{atom(connection, "_NET_WM_STATE_SKIP_TASKBAR"),
                atom(connection, "_NET_WM_STATE_SKIP_PAGER")} {}
    xcb_atom_t state;
    std::array<xcb_atom_t, 2> skips;
};

std::vector<xcb_atom_t> statesOf(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t property) {
    const auto cookie = xcb_get_property(connection, 0, window, property, XCB_ATOM_ATOM, 0, 1024);
    const ReplyPointer<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr),
                                                       std::free);
    if (!reply || reply->format != 32 || reply->type != XCB_ATOM_ATOM)
        return {};
    const auto* first = static_cast<const xcb_atom_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

} // namespace

void prepareTaskbarPlace(QWindow& window, bool isListed) {
    auto* connection = x11Connection();
    if (!connection)
        return;
    const Atoms atoms(connection);
    const auto id = static_cast<xcb_window_t>(window.winId());

    auto states = statesOf(connection, id, atoms.state);
    for (const xcb_atom_t skip : atoms.skips) {
        std::erase(states, skip);
        if (!isListed)
            states.push_back(skip);
    }
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, atoms.state, XCB_ATOM_ATOM, 32,
                        static_cast<std::uint32_t>(states.size()), states.data());
}

void changeTaskbarPlace(QWindow& window, bool isListed) {
    auto* connection = x11Connection();
    if (!connection)
        return;
    const Atoms atoms(connection);

    constexpr std::uint32_t remove = 0;
    constexpr std::uint32_t add = 1;
    constexpr std::uint32_t sourceIsApplication = 1;
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atoms.state;
    message.data.data32[0] = isListed ? remove : add;
    message.data.data32[1] = atoms.skips[0];
    message.data.data32[2] = atoms.skips[1];
    message.data.data32[3] = sourceIsApplication;
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root,
                   XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

} // namespace sonvale::adapters::qt
