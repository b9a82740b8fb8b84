#pragma once

#include <xcb/xcb.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::tests {

using TestEvent = std::unique_ptr<xcb_generic_event_t, decltype(&std::free)>;

/// A plain connection of a test to an X server, with a window. Its calls wait for the server without a limit.
class XcbSession {
public:
    explicit XcbSession(const std::string& displayName);
    ~XcbSession();
    XcbSession(const XcbSession&) = delete;
    XcbSession& operator=(const XcbSession&) = delete;

    xcb_connection_t* connection() const { return connection_; }
    xcb_window_t root() const { return root_; }
    xcb_window_t window() const { return window_; }

    xcb_atom_t atom(const std::string& name);
    std::string name(xcb_atom_t atom);
    xcb_window_t owner(const std::string& selection);
    /// Drops all other events.
    xcb_timestamp_t timestamp();
    void sync();

    /// Returns the next event, or null after `seconds`.
    TestEvent waitForEvent(double seconds);

    struct Property {
        std::string type; ///< empty if there is no such property
        int format = 0;
        std::vector<std::byte> data;
    };
    Property takeProperty(xcb_window_t window, xcb_atom_t property);

private:
    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = 0;
    xcb_window_t window_ = 0;
};

std::vector<std::byte> bytes(const std::string& text);
/// Returns `count` bytes without a pattern of a power of two.
std::vector<std::byte> manyBytes(std::size_t count);

} // namespace sonvale::tests
