#pragma once

#include "adapters/x11/X11SelectionFetch.h"
#include "adapters/x11/X11SelectionReader.h"
#include "adapters/x11/X11SelectionServer.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// The clipboard as the thread of its connection handles it; `X11Pasteboard` tells what the operations mean.
class X11Clipboard {
public:
    /// Called on the clipboard's thread; nullopt if the server does not answer.
    using ItemsReady = std::function<void(std::optional<std::vector<platform::PasteboardItem>>)>;

    /// Maximum time from `readItems` to its answer.
    static constexpr double itemsSeconds = 3;

    X11Clipboard(const runtime::Clock& clock, const std::string& displayName);

    std::int64_t changeCount();
    /// What this program holds itself; absent when that is nothing, or there is no server. It asks nobody,
    /// and may be read on any thread.
    X11SelectionServer::ContentsPointer ownContents();

    /// Starts to fetch what another program holds, and starts again each time it changes.
    void prefetch();
    /// Drops what was fetched and not read.
    void dropPrefetch();
    /// Reads what another program holds: what was prefetched if that is current. `ready` is called inside
    /// this operation or later inside `serveAndWait`. If it is called before everything has arrived, the rest
    /// is added once the items are written back.
    void readItems(ItemsReady ready);

    std::optional<std::string> readText();
    void clearContents();
    /// The atoms are filled in here.
    void writeText(X11SelectionContents contents);
    void writeItems(X11SelectionContents contents);
    void offerPrimary();

    /// Asks the clipboard manager to take over what is held, and serves it until it has (freedesktop's
    /// clipboard manager convention: SAVE_TARGETS).
    void handOver();

    /// Serves what has come, then sleeps until there is more, on the other descriptor too.
    void serveAndWait(int otherDescriptor);

    /// Ends every wait. From any thread.
    void disconnect() const { connection_.disconnect(); }

private:
    struct Waiting {
        ItemsReady ready;
        double since = 0;
    };
    /// What becomes of forms that arrive after `readItems` has answered.
    enum class Late {
        none,     ///< there are none
        kept,     ///< until the items are written back
        restored, ///< the items are written back: they join what is offered
    };

    void dispatch(const xcb_generic_event_t& event);
    void dispatchArrived();
    void noteChange(const xcb_generic_event_t& event);
    void watchChanges();
    bool hasOwner(xcb_atom_t selection);
    bool startFetch();
    void advance();
    void answerItems();
    void addLateForms();
    void logAndEndFetch();
    void endFetch();
    void waitForLateForms();
    double nextDeadline() const;
    void releasePrimary();
    X11SelectionContents readPrimary();
    std::optional<std::string> fetchText(xcb_atom_t selection, xcb_timestamp_t time, double deadline);
    double serverDeadline() const;

    const runtime::Clock& clock_;
    X11Connection connection_;
    X11SelectionServer server_;
    X11SelectionReader reader_;
    X11SelectionFetch fetch_;
    xcb_atom_t clipboard_ = XCB_ATOM_NONE;
    xcb_atom_t saveTargets_ = XCB_ATOM_NONE;
    xcb_atom_t clipboardManager_ = XCB_ATOM_NONE;
    int selectionEvent_ = -1;
    std::int64_t changeCount_ = 0;
    std::int64_t fetchedCount_ = -1; ///< the change count to which `fetch_` belongs
    bool isPrefetching_ = false;
    std::optional<Waiting> waiting_; ///< for `readItems`
    Late late_ = Late::none;
    std::vector<std::string> order_; ///< names of the forms of `fetch_` in their owner's order
    /// What PRIMARY held before `offerPrimary`; absent while that is not in use.
    X11SelectionServer::ContentsPointer formerPrimary_;
    bool isPrimaryOffered_ = false;
    bool isHandedOver_ = false;
};

} // namespace sonvale::adapters::x11
