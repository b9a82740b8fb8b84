#include "adapters/x11/X11Windows.h"

#include <vector>

namespace sonvale::adapters::x11 {

namespace {

std::optional<std::uint32_t> firstNumber(X11Connection& connection, xcb_window_t window, const char* name,
                                         double deadline) {
    const auto numbers = numbersOf(connection.property(window, connection.atom(name, deadline), deadline));
    if (numbers.empty() || numbers.front() == 0)
        return std::nullopt;
    return numbers.front();
}

} // namespace

std::optional<xcb_window_t> activeWindow(X11Connection& connection, double deadline) {
    return firstNumber(connection, connection.root(), "_NET_ACTIVE_WINDOW", deadline);
}

std::optional<std::int32_t> processOf(X11Connection& connection, xcb_window_t window, double deadline) {
    const auto number = firstNumber(connection, window, "_NET_WM_PID", deadline);
    return number ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

WindowClass windowClassIn(const XcbProperty& property) {
    // Each name ends with a zero byte.
    const auto names = textOf(property);
    const auto end = names.find('\0');
    if (end == std::string::npos)
        return {names, {}};
    const auto name = names.substr(end + 1);
    return {names.substr(0, end), name.substr(0, name.find('\0'))};
}

WindowClass windowClassOf(X11Connection& connection, xcb_window_t window, double deadline) {
    return windowClassIn(connection.property(window, XCB_ATOM_WM_CLASS, deadline));
}

bool isSameClient(const X11Connection& connection, xcb_window_t one, xcb_window_t other) {
    // The bits outside of this mask identify the client that made a resource. The mask is the same for all
    // clients.
    const auto mask = xcb_get_setup(connection.raw())->resource_id_mask;
    return one != XCB_WINDOW_NONE && (one & ~mask) == (other & ~mask);
}

} // namespace sonvale::adapters::x11
