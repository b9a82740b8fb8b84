#pragma once

#include "runtime/Clock.h"

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace sonvale::adapters::x11 {

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};
template <class T>
using XcbPointer = std::unique_ptr<T, FreeMemory>;
using XcbEvent = XcbPointer<xcb_generic_event_t>;
using XcbProperty = XcbPointer<xcb_get_property_reply_t>;

/// A connection to the X server. Every wait on it has a deadline.
///
/// Errors are values: a request that the server refuses, or does not answer before its deadline, has no
/// reply. Without a server every operation returns an empty result. Deadlines are moments of the clock's
/// `now()`, in seconds.
///
/// Uses xcb, because Xlib has one error handler for the whole process. Belongs to one thread at a time; only
/// `disconnect` may be called from another one.
class X11Connection {
public:
    /// Connects to `displayName`, or to DISPLAY if it is empty. The clock must outlive the connection.
    X11Connection(const std::string& displayName, const runtime::Clock& clock);
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    /// Returns false if there is no server, or if the connection to it has ended.
    bool isAlive() const;
    xcb_connection_t* raw() const { return connection_; }
    xcb_window_t root() const { return root_; }
    const runtime::Clock& clock() const { return clock_; }
    /// Returns the deadline that is `seconds` from now.
    double deadlineIn(double seconds) const { return clock_.now() + seconds; }

    /// Returns the connection's own window, which is never shown and reports changes of its properties. Makes
    /// it at the first call.
    xcb_window_t window();
    /// Makes another window of this kind. It is destroyed with the connection.
    xcb_window_t makeWindow();

    /// Waits for the reply to the request with this sequence number. Returns null after an error and at the
    /// deadline.
    template <class Reply>
    XcbPointer<Reply> reply(unsigned int sequence, double deadline) {
        return XcbPointer<Reply>(static_cast<Reply*>(waitForReply(sequence, deadline)));
    }
    template <class Reply, class Cookie>
        requires requires(Cookie cookie) { cookie.sequence; }
    XcbPointer<Reply> reply(Cookie cookie, double deadline) {
        return reply<Reply>(cookie.sequence, deadline);
    }

    /// Waits until the server has handled all requests so far; then all events up to here can be taken.
    /// Returns false at the deadline.
    bool synchronize(double deadline);

    /// Asks for a whole property of any type.
    xcb_get_property_cookie_t requestProperty(xcb_window_t window, xcb_atom_t name, bool andDelete = false);
    /// Reads a whole property. Returns null if there is no such window or the server does not answer. A
    /// property that does not exist has the type XCB_ATOM_NONE.
    XcbProperty property(xcb_window_t window, xcb_atom_t name, double deadline);
    /// As `property`, and deletes it.
    XcbProperty takeProperty(xcb_window_t window, xcb_atom_t name, double deadline);

    /// Returns the atoms of these names, XCB_ATOM_NONE where there is none. Needs one round trip for the
    /// names that were not asked for before.
    std::vector<xcb_atom_t> atoms(const std::vector<std::string>& names, double deadline);
    xcb_atom_t atom(const std::string& name, double deadline);
    /// Returns the names of these atoms, empty where there is none.
    std::vector<std::string> atomNames(const std::vector<xcb_atom_t>& atoms, double deadline);

    /// Returns the window that owns the selection, XCB_WINDOW_NONE if there is none, and nullopt if the
    /// server does not answer.
    std::optional<xcb_window_t> selectionOwner(xcb_atom_t selection, double deadline);

    /// Returns the server's present time, as selections need it (ICCCM 2.1: from a zero-length property
    /// change).
    std::optional<xcb_timestamp_t> timestamp(double deadline);

    /// Returns the next event that has arrived, or null. Errors of unchecked requests are events too.
    XcbEvent takeEvent();
    /// As `takeEvent`, but waits for an event until the deadline.
    XcbEvent waitForEvent(double deadline);

    /// Sends the buffered requests. Then sleeps until there is something to read, here or on the other
    /// descriptor, until the connection ends, or until the deadline; infinity means no deadline. Call it when
    /// `takeEvent` has returned null.
    void waitForInput(int otherDescriptor, double deadline);

    /// Ends the connection, and with it any wait on it. May be called from any thread.
    void disconnect() const;

private:
    void* waitForReply(unsigned int sequence, double deadline);
    void collectEvents();
    void pollUntil(double deadline, int otherDescriptor);

    const runtime::Clock& clock_;
    xcb_connection_t* connection_ = nullptr;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    std::deque<XcbEvent> events_;
    std::unordered_map<std::string, xcb_atom_t> atomsByName_;
    std::unordered_map<xcb_atom_t, std::string> namesByAtom_;
};

/// Returns whether the selection has an owner; false if the server does not answer.
bool hasOwner(X11Connection& connection, xcb_atom_t selection, double deadline);

/// Returns the bytes of a property, of any format. A null property has none.
std::vector<std::byte> bytesOf(const XcbProperty& property);
/// Returns the numbers of a property of format 32. Empty if the property is null or has another format.
std::vector<std::uint32_t> numbersOf(const XcbProperty& property);
/// Returns the text of a property of format 8, zero bytes included. Empty if the property is null or has
/// another format.
std::string textOf(const XcbProperty& property);

} // namespace sonvale::adapters::x11
