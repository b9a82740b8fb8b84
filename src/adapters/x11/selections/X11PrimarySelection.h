#pragma once

#include "adapters/x11/selections/X11SelectionServer.h"

#include <functional>
#include <optional>
#include <string>

namespace sonvale::adapters::x11 {

/// Offers a text through the selection PRIMARY for a while, and then restores the text that was marked
/// before. Runs on the thread of its connection.
class X11PrimarySelection {
public:
    /// `readText` returns the text that another program has marked.
    X11PrimarySelection(X11Connection& connection, X11SelectionServer& server,
                        std::function<std::optional<std::string>(xcb_timestamp_t time)> readText);

    /// Offers the texts. Does nothing if there are none.
    void offer(X11SelectionContents texts);
    /// Offers again what `offer` has displaced. Does nothing if another program has taken PRIMARY since.
    void release();

private:
    X11SelectionContents readMarked();

    X11Connection& connection_;
    X11SelectionServer& server_;
    const std::function<std::optional<std::string>(xcb_timestamp_t time)> readText_;
    bool hasOffered_ = false;
    X11SelectionServer::ContentsPointer
        former_; ///< what PRIMARY held before `offer`; null if nothing is offered
};

} // namespace sonvale::adapters::x11
