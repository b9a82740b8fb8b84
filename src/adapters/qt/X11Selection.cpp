#include "adapters/qt/X11Selection.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <cstdlib>
#include <memory>

namespace sonvale::adapters::qt {

namespace {

QNativeInterface::QX11Application* x11Application() {
    return qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
}

template <class Reply>
using ReplyPointer = std::unique_ptr<Reply, decltype(&std::free)>;

} // namespace

bool isOnX11() {
    return x11Application() != nullptr;
}

std::uint32_t x11Atom(const std::string& name) {
    const auto* x11 = x11Application();
    if (!x11)
        return XCB_NONE;
    const auto cookie =
        xcb_intern_atom(x11->connection(), 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const ReplyPointer<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(x11->connection(), cookie, nullptr), std::free);
    return reply ? reply->atom : static_cast<std::uint32_t>(XCB_NONE);
}

bool hasX11Owner(const std::string& selection) {
    const std::uint32_t atom = x11Atom(selection);
    if (atom == XCB_NONE)
        return false;
    auto* connection = x11Application()->connection();
    const ReplyPointer<xcb_get_selection_owner_reply_t> reply(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, atom), nullptr),
        std::free);
    return reply && reply->owner != XCB_NONE;
}

} // namespace sonvale::adapters::qt
