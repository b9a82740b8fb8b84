#pragma once

#include "adapters/x11/selections/X11PrimarySelection.h"
#include "adapters/x11/selections/X11SelectionFetch.h"
#include "adapters/x11/selections/X11SelectionReader.h"
#include "adapters/x11/selections/X11SelectionServer.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// The clipboard on the thread of its connection. `X11Pasteboard` documents the operations.
class X11Clipboard {
public:
    /// Called on the clipboard's thread; nullopt if the server does not answer.
    using ItemsReady = std::function<void(std::optional<std::vector<platform::PasteboardItem>>)>;

    /// Maximum time from `readItems` to its answer.
    static constexpr double itemsSeconds = 3;

    X11Clipboard(const runtime::Clock& clock, const std::string& displayName);

    std::int64_t changeCount();
    /// Returns what this program holds itself, or null if it holds nothing or there is no server. Asks no
    /// other program. The contents may be read on any thread.
    X11SelectionServer::ContentsPointer ownContents();

    /// Starts to fetch what another program holds, and starts again each time it changes.
    void prefetch();
    /// Drops the forms that were fetched and not read.
    void dropPrefetch();
    /// Reads what another program holds, from the prefetched forms if they are current. `ready` is called
    /// inside this operation or later inside `serveAndWait`. If it is called before all forms have arrived,
    /// the rest is added when the items are written back.
    void readItems(ItemsReady ready);

    std::optional<std::string> readText();
    void clearContents();
    /// Fills in the atoms and offers the contents.
    void writeText(X11SelectionContents contents);
    void writeItems(X11SelectionContents contents);
    void offerPrimary();

    /// Asks the clipboard manager to take over the contents, and serves it until it has done so
    /// (freedesktop's clipboard manager convention: SAVE_TARGETS).
    void handOver();

    /// Handles the events that have arrived, then sleeps until there are more, or until the other descriptor
    /// can be read.
    void serveAndWait(int otherDescriptor);

    /// Ends every wait. May be called from any thread.
    void disconnect() const { connection_.disconnect(); }

private:
    struct Waiting {
        ItemsReady ready;
        double since = 0;
    };
    /// What happens to forms that arrive after `readItems` has answered.
    enum class Late {
        none,     ///< there are no such forms
        kept,     ///< kept until the items are written back
        restored, ///< the items are written back: the forms are added to the offer
    };

    void dispatch(const xcb_generic_event_t& event);
    void dispatchPending();
    void noteChange(const xcb_generic_event_t& event);
    bool startFetch();
    void advance();
    void answerItems();
    void addLateForms();
    void logAndEndFetch();
    void endFetch();
    void waitForLateForms();
    double nextDeadline() const;
    std::optional<std::string> fetchText(xcb_atom_t selection, xcb_timestamp_t time, double deadline);

    const runtime::Clock& clock_;
    X11Connection connection_;
    X11SelectionServer server_;
    X11SelectionReader reader_;
    X11SelectionFetch fetch_;
    X11PrimarySelection primary_;
    xcb_atom_t clipboard_ = XCB_ATOM_NONE;
    xcb_atom_t saveTargets_ = XCB_ATOM_NONE;
    xcb_atom_t clipboardManager_ = XCB_ATOM_NONE;
    int selectionEvent_ = -1;
    std::int64_t changeCount_ = 0;
    std::int64_t fetchedCount_ = -1; ///< the change count to which `fetch_` belongs
    bool isPrefetching_ = false;
    std::optional<Waiting> waiting_; ///< for `readItems`
    Late late_ = Late::none;
    std::vector<std::string> order_; ///< names of the forms of `fetch_`, in their owner's order
    bool isHandedOver_ = false;
};

} // namespace sonvale::adapters::x11
