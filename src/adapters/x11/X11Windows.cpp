#include "adapters/x11/X11Windows.h"

#include <algorithm>
#include <string_view>

namespace sonvale::adapters::x11 {

namespace {

std::optional<std::uint32_t> firstNumber(X11Client& client, xcb_window_t window, const char* name,
                                         double deadline) {
    const auto property = client.property(window, client.atom(name, deadline), false, deadline);
    const auto numbers = property ? numbersOf(*property) : std::vector<std::uint32_t>();
    if (numbers.empty() || numbers.front() == 0)
        return std::nullopt;
    return numbers.front();
}

} // namespace

std::optional<xcb_window_t> activeWindow(X11Client& client, double deadline) {
    return firstNumber(client, client.root(), "_NET_ACTIVE_WINDOW", deadline);
}

std::optional<std::int32_t> processOf(X11Client& client, xcb_window_t window, double deadline) {
    const auto number = firstNumber(client, window, "_NET_WM_PID", deadline);
    return number ? std::optional(static_cast<std::int32_t>(*number)) : std::nullopt;
}

std::string windowClassIn(const xcb_get_property_reply_t* property) {
    if (!property || property->format != 8)
        return {};
    // Two strings, each with its end: the instance and the class.
    std::string_view names(static_cast<const char*>(xcb_get_property_value(property)),
                           static_cast<std::size_t>(xcb_get_property_value_length(property)));
    names.remove_prefix(std::min(names.find('\0'), names.size()));
    if (!names.empty())
        names.remove_prefix(1);
    return std::string(names.substr(0, names.find('\0')));
}

bool isSameClient(xcb_connection_t* connection, xcb_window_t one, xcb_window_t other) {
    // The server marks each client's resources by the bits outside of this mask, which is one for all.
    const auto mask = xcb_get_setup(connection)->resource_id_mask;
    return one != XCB_WINDOW_NONE && (one & ~mask) == (other & ~mask);
}

} // namespace sonvale::adapters::x11
