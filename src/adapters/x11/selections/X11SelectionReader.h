#pragma once

#include "adapters/x11/X11Connection.h"

#include <functional>
#include <optional>
#include <vector>

namespace sonvale::adapters::x11 {

/// The contents of a selection in one form.
struct X11SelectionData {
    xcb_atom_t type = XCB_ATOM_NONE;
    std::uint8_t format = 8;
    std::vector<std::byte> bytes;
};

/// Asks the owners of selections for their contents (ICCCM 2.4, INCR 2.7.2).
///
/// Runs on the thread of its connection. While it waits it passes every event to `dispatch`, which must pass
/// them to `handle` too, so that this program still serves others. An answer after its deadline is received
/// and discarded, so that a slow owner can finish sending.
class X11SelectionReader {
public:
    /// Only `fetch` needs `dispatch`.
    X11SelectionReader(X11Connection& connection, const runtime::Clock& clock,
                       std::function<void(const xcb_generic_event_t&)> dispatch = {});

    /// Returns nullopt if the owner refuses, if there is no owner, if the answer is incomplete at the
    /// deadline, and after `abandon`.
    std::optional<X11SelectionData> fetch(xcb_atom_t selection, xcb_atom_t target, xcb_timestamp_t time,
                                          double deadline);

    /// Asks the owner and returns at once. The answer comes through `handle`.
    void begin(xcb_atom_t selection, xcb_atom_t target, xcb_timestamp_t time);
    /// Returns whether the answer to `begin` is incomplete.
    bool isBusy() const { return stage_ == Stage::asked || stage_ == Stage::receiving; }
    /// Returns the answer to `begin`, once; nullopt if the owner has refused, and after `abandon`.
    std::optional<X11SelectionData> take();
    /// Returns the bytes of the present answer so far.
    std::size_t received() const { return data_.bytes.size(); }
    /// Returns when the owner last sent something; 0 before its first answer.
    double lastActivity() const { return lastActivity_; }

    /// Ends the present request, because its owner is lost or too slow.
    void abandon();

    void handle(const xcb_generic_event_t& event);

private:
    enum class Stage { idle, asked, receiving, complete, failed };

    void takeAnswer(const xcb_selection_notify_event_t& answer);
    void takePiece();
    bool isOwnProperty(xcb_atom_t property) const;

    X11Connection& connection_;
    const runtime::Clock& clock_;
    std::function<void(const xcb_generic_event_t&)> dispatch_;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    xcb_atom_t incr_ = XCB_ATOM_NONE;
    /// One property is in use at a time. After a missed deadline the next one is used, so that a late answer
    /// is not taken for the new one.
    std::vector<xcb_atom_t> properties_;
    std::size_t current_ = 0;

    Stage stage_ = Stage::idle;
    xcb_atom_t target_ = XCB_ATOM_NONE;
    xcb_timestamp_t time_ = 0;
    double lastActivity_ = 0;
    X11SelectionData data_;
};

} // namespace sonvale::adapters::x11
