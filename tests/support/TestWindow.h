#pragma once

#include "tests/support/XcbSession.h"

#include <optional>
#include <string>

namespace sonvale::tests {

/// A window of another program, as a window manager shows it.
class TestWindow {
public:
    struct Properties {
        std::string instance;
        std::string className; ///< no WM_CLASS when both are empty
        std::optional<std::string> netName;
        std::optional<std::string> oldName; ///< WM_NAME, as STRING
        std::optional<std::uint32_t> processIdentifier;
    };

    /// Shows the window; waits until the window manager has made it the active one.
    TestWindow(const std::string& displayName, Properties properties);

    xcb_window_t id() const { return window_; }
    /// Makes it the active one again.
    void activate();
    /// Number of windows that the window manager knows.
    static std::size_t managedCount(XcbSession& session);
    /// The window that the window manager calls active.
    static xcb_window_t activeWindow(XcbSession& session);

private:
    void setText(const std::string& property, xcb_atom_t type, const std::string& text);

    XcbSession session_;
    xcb_window_t window_ = 0;
};

} // namespace sonvale::tests
