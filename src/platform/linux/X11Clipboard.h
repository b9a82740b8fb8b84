#pragma once

#include "platform/linux/X11SelectionReader.h"
#include "platform/linux/X11SelectionServer.h"

#include <string>
#include <vector>

namespace sonvale::platform::linux {

/// The clipboard as the thread of its connection handles it; `X11Pasteboard` tells what the operations mean.
class X11Clipboard {
public:
    X11Clipboard(const runtime::Clock& clock, const std::string& displayName);

    std::int64_t changeCount();
    /// What this program holds itself; absent when that is nothing, or there is no server. It asks nobody,
    /// and may be read on any thread.
    X11SelectionServer::ContentsPointer ownContents();
    /// What another program holds.
    std::optional<std::vector<PasteboardItem>> readItems();
    std::optional<std::string> readText();
    void clearContents();
    /// Of `setString` and `writeItems`; the atoms are filled in here.
    void write(X11SelectionContents contents);
    void offerPrimary();

    /// Asks the clipboard manager to take over what is held, and serves it until it has (freedesktop's
    /// clipboard manager convention: SAVE_TARGETS).
    void handOver();

    /// Serves what has come, then sleeps until there is more, on the other descriptor too.
    void serveAndWait(int otherDescriptor);

    /// Ends every wait. From any thread.
    void disconnect() const { client_.disconnect(); }

private:
    struct Wanted {
        std::string name;
        xcb_atom_t target = XCB_ATOM_NONE;
        std::optional<X11SelectionData> data;
    };

    void dispatch(const xcb_generic_event_t& event);
    void dispatchArrived();
    void watchChanges();
    bool hasOwner(xcb_atom_t selection);
    std::vector<Wanted> offeredTargets(xcb_timestamp_t time, double deadline);
    PasteboardItem fetchItem(xcb_timestamp_t time, double start);
    std::optional<std::string> fetchText(xcb_timestamp_t time, double deadline);
    double soon() const;

    const runtime::Clock& clock_;
    X11Client client_;
    X11SelectionServer server_;
    X11SelectionReader reader_;
    xcb_atom_t clipboard_ = XCB_ATOM_NONE;
    xcb_atom_t targets_ = XCB_ATOM_NONE;
    xcb_atom_t saveTargets_ = XCB_ATOM_NONE;
    xcb_atom_t clipboardManager_ = XCB_ATOM_NONE;
    int selectionEvent_ = -1;
    std::int64_t changeCount_ = 0;
    bool isHandedOver_ = false;
};

} // namespace sonvale::platform::linux
