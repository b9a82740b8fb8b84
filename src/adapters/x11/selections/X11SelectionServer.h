#pragma once

#include "adapters/x11/selections/X11SelectionContents.h"

#include <map>

namespace sonvale::adapters::x11 {

/// Owns selections and serves other programs' requests for them (ICCCM 2.2 to 2.7): TARGETS, TIMESTAMP,
/// MULTIPLE, SAVE_TARGETS as a mark, every target of the contents, and INCR for more than 256 KB.
///
/// Runs on the thread of its connection and never waits for another program: `handle` continues the
/// transfers. A transfer whose reader has stopped is dropped after 10 s.
class X11SelectionServer {
public:
    using ContentsPointer = std::shared_ptr<const X11SelectionContents>;

    X11SelectionServer(X11Connection& connection, const runtime::Clock& clock);

    /// Claims the selection for these contents. Returns false if the server refuses.
    bool claim(xcb_atom_t selection, ContentsPointer contents, double deadline);

    /// Claims the selection for contents that `fill` will give. Requests wait for 20 ms; then the contents
    /// are empty and the selection is released.
    bool claimUnfilled(xcb_atom_t selection, double deadline);

    /// Gives the contents after `claimUnfilled`. Claims the selection again if it is no longer claimed.
    bool fill(xcb_atom_t selection, ContentsPointer contents, double deadline);

    /// Returns whether `claimUnfilled` still waits for contents.
    bool isUnfilled(xcb_atom_t selection) const;
    /// Returns when `expire` will release an unfilled selection; infinity for any other.
    double fillDeadline(xcb_atom_t selection) const;
    /// Makes requests wait until `deadline` instead of 20 ms. Does nothing unless the selection is unfilled.
    void waitForContents(xcb_atom_t selection, double deadline);

    /// Replaces the contents without claiming the selection again. Transfers in progress keep what they send.
    /// Does nothing if the selection is not owned.
    void update(xcb_atom_t selection, ContentsPointer contents);

    /// Gives up the selection if this program owns it. It then has no owner.
    void release(xcb_atom_t selection);

    bool owns(xcb_atom_t selection) const { return offers_.contains(selection); }
    /// Returns null if the selection is not owned, and empty contents if it is owned and not filled.
    ContentsPointer contents(xcb_atom_t selection) const;

    /// Returns whether an event with this sequence number, which reports that a selection has no owner, is
    /// caused by the last `release` here and not by another program. Returns true once.
    bool isOwnRelease(xcb_atom_t selection, unsigned int sequence);

    void handle(const xcb_generic_event_t& event);

    /// Returns when `expire` must run next; infinity if it need not.
    double nextDeadline() const;
    void expire();

private:
    struct Offer {
        ContentsPointer contents; ///< null until filled
        xcb_timestamp_t time = 0;
        unsigned int sequence = 0; ///< sequence number of the request that claimed it
        double fillDeadline = 0;
        std::vector<xcb_selection_request_event_t> waiting;
    };
    struct Transfer {
        xcb_window_t requestor = XCB_WINDOW_NONE;
        xcb_atom_t property = XCB_ATOM_NONE;
        X11SelectionContents::Form form;
        std::size_t sent = 0;
        double deadline = 0;
    };

    void serve(const Offer& offer, const xcb_selection_request_event_t& request);
    bool serveMultiple(const Offer& offer, const xcb_selection_request_event_t& request, xcb_atom_t property);
    bool convert(const Offer& offer, xcb_window_t requestor, xcb_atom_t target, xcb_atom_t property);
    void answer(const xcb_selection_request_event_t& request, xcb_atom_t property);
    void beginTransfer(xcb_window_t requestor, xcb_atom_t property, const X11SelectionContents::Form& form);
    void continueTransfer(xcb_window_t requestor, xcb_atom_t property);
    void endTransfersTo(xcb_window_t requestor);
    void lose(const xcb_selection_clear_event_t& event);

    X11Connection& connection_;
    const runtime::Clock& clock_;
    std::map<xcb_atom_t, Offer> offers_;
    std::map<xcb_atom_t, unsigned int> releases_; ///< sequence numbers of the releasing requests
    std::vector<Transfer> transfers_;
    xcb_atom_t targets_ = XCB_ATOM_NONE;
    xcb_atom_t multiple_ = XCB_ATOM_NONE;
    xcb_atom_t timestamp_ = XCB_ATOM_NONE;
    xcb_atom_t saveTargets_ = XCB_ATOM_NONE;
    xcb_atom_t incr_ = XCB_ATOM_NONE;
    xcb_atom_t null_ = XCB_ATOM_NONE;
    xcb_atom_t atomPair_ = XCB_ATOM_NONE;
    std::size_t chunkBytes_ = 0;
};

} // namespace sonvale::adapters::x11
