#pragma once

#include "tests/support/XcbSession.h"

#include <optional>
#include <string>

namespace sonvale::tests {

/// A window of another program, shown by a window manager.
class TestWindow {
public:
    struct Properties {
        std::string instance;
        std::string className; ///< no WM_CLASS if both are empty
        std::optional<std::string> netName;
        std::optional<std::string> oldName; ///< WM_NAME, as STRING
        std::optional<std::uint32_t> processIdentifier;
    };

    /// Shows the window and waits until the window manager has made it the active one.
    TestWindow(const std::string& displayName, Properties properties);

    xcb_window_t id() const { return window_; }
    /// Makes it the active window again.
    void activate();
    /// Returns the number of windows that the window manager knows.
    static std::size_t managedCount(XcbSession& session);
    /// Returns the active window by the window manager.
    static xcb_window_t activeWindow(XcbSession& session);

private:
    void setText(const std::string& property, xcb_atom_t type, const std::string& text);

    XcbSession session_;
    xcb_window_t window_ = 0;
};

} // namespace sonvale::tests
