#pragma once

#include "adapters/x11/selections/X11SelectionReader.h"

#include "platform/Pasteboard.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// Fetches every form that the owner of a selection offers, in the background.
///
/// Runs on the thread of its connection and never waits for the owner: the thread passes events to `handle`
/// and then calls `advance`, also at `nextDeadline`. It asks for one form at a time, text before pictures,
/// until `askForAll`. Bitmaps are not fetched if the same picture is offered as PNG.
class X11SelectionFetch {
public:
    struct Limits {
        double silenceSeconds = 10; ///< maximum time in which the owner sends nothing
        double totalSeconds = 60;   ///< for the whole fetch
        std::size_t maxBytes = std::size_t{256}
                               << 20; ///< for all forms together; may be exceeded by one piece
    };

    /// One form that has arrived, at its place in the owner's list.
    struct Arrived {
        std::size_t place = 0;
        platform::PasteboardItem::Representation representation;
    };

    X11SelectionFetch(X11Connection& connection, const runtime::Clock& clock, Limits limits);

    /// Starts to fetch what the owner had at the server time `time`. Drops an earlier fetch.
    void start(xcb_atom_t selection, xcb_timestamp_t time);
    /// Becomes complete with no forms, for a selection without an owner.
    void completeEmpty();
    /// Asks for all remaining forms at once. Their requests then wait in the owner's queue, where they are
    /// answered even if the owner loses the selection meanwhile. Before the owner has listed its forms this
    /// does nothing.
    void askForAll();
    /// As `askForAll`; if the owner has not listed its forms, asks for the most usual ones.
    void askForAllNow();
    /// Drops everything. Transfers in progress are received and thrown away.
    void stop();

    void handle(const xcb_generic_event_t& event);
    void advance();
    /// Returns infinity unless a fetch is running.
    double nextDeadline() const;

    bool isIdle() const { return stage_ == Stage::idle; }
    bool isComplete() const { return stage_ == Stage::complete; }
    /// Returns whether nothing is missing except other encodings of a bitmap that has arrived as PNG.
    bool hasAllButEncodings() const;

    /// Moves out the forms that have arrived since the last call, in the owner's order.
    std::vector<Arrived> takeArrived();
    /// Returns whether the owner has listed its forms, or there is no owner.
    bool hasList() const { return hasList_; }
    /// Returns the names of all forms, in the owner's order.
    std::vector<std::string> names() const;
    /// Returns the names of the forms that the owner has not given. A refused form is not one of them.
    std::vector<std::string> missing() const;

private:
    enum class Stage { idle, listing, fetching, complete };
    enum class State { waiting, asked, arrived, taken, refused, givenUp };

    struct Wanted {
        std::string name;
        xcb_atom_t target = XCB_ATOM_NONE;
        State state = State::waiting;
        X11SelectionData data;
    };
    struct Transfer {
        std::size_t place; ///< in `wanted_`; `listPlace` for the list of forms
        X11SelectionReader* reader;
    };
    static constexpr std::size_t listPlace = static_cast<std::size_t>(-1);

    void ask(std::size_t place, xcb_atom_t target);
    bool askMore();
    bool receive();
    void takeList(const std::optional<X11SelectionData>& list);
    void setWanted(const std::vector<xcb_atom_t>& atoms);
    void giveUpOnTransfers();
    void keepWithinMemory();
    double lastActivity() const;

    X11Connection& connection_;
    const runtime::Clock& clock_;
    const Limits limits_;
    xcb_atom_t targets_ = XCB_ATOM_NONE;
    /// Reused. A reader is not destroyed before the connection, because an owner may still send to its
    /// window.
    std::vector<std::unique_ptr<X11SelectionReader>> readers_;

    Stage stage_ = Stage::idle;
    xcb_atom_t selection_ = XCB_ATOM_NONE;
    xcb_timestamp_t time_ = 0;
    double startedAt_ = 0;
    double askedAt_ = 0; ///< when the latest request was sent
    bool isAskingForAll_ = false;
    bool hasList_ = false;
    std::vector<Wanted> wanted_;     ///< in the owner's order
    std::vector<std::size_t> order_; ///< places in `wanted_`, most urgent first
    std::size_t next_ = 0;           ///< in `order_`
    std::size_t bytes_ = 0;          ///< received in complete forms
    std::vector<Transfer> transfers_;
};

} // namespace sonvale::adapters::x11
