#pragma once

#include "runtime/Clock.h"

#include <xcb/xcb.h>

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

/// A connection to the X server in which every wait has an end, with one window of its own that is never
/// shown.
///
/// On xcb, because the error handler of Xlib is one for the whole process. Belongs to one thread at a time;
/// only `disconnect` may be called from another. Deadlines are moments of the clock's `now()`. Without a
/// server every operation answers with nothing.
class X11Client {
public:
    /// Connects to `displayName`, or to DISPLAY when it is empty.
    X11Client(const std::string& displayName, const runtime::Clock& clock);
    ~X11Client();
    X11Client(const X11Client&) = delete;
    X11Client& operator=(const X11Client&) = delete;

    /// False when there is no server, or it has gone.
    bool isAlive() const;
    xcb_connection_t* connection() const { return connection_; }
    xcb_window_t root() const { return root_; }
    /// Reports changes of its properties.
    xcb_window_t window() const { return window_; }
    /// Another window of this kind; it goes with the connection.
    xcb_window_t makeWindow();

    /// The reply to the request with this sequence number; absent after an error or at the deadline.
    template <class Reply>
    XcbPointer<Reply> reply(unsigned int sequence, double deadline) {
        return XcbPointer<Reply>(static_cast<Reply*>(waitForReply(sequence, deadline)));
    }

    /// The whole property; absent when the window or the server does not answer. A property that is not there
    /// has the type XCB_ATOM_NONE.
    XcbPointer<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name, bool andDelete,
                                                  double deadline);

    /// The atoms of these names, XCB_ATOM_NONE where there is none. One round trip for those not asked for
    /// before.
    std::vector<xcb_atom_t> atoms(const std::vector<std::string>& names, double deadline);
    xcb_atom_t atom(const std::string& name, double deadline);
    /// The names of these atoms, empty where there is none.
    std::vector<std::string> atomNames(const std::vector<xcb_atom_t>& atoms, double deadline);

    /// Returns once the server has done everything asked for so far; all events up to then can be taken.
    bool sync(double deadline);

    /// The server's present time, as selections need it (ICCCM 2.1: from a zero-length property change).
    std::optional<xcb_timestamp_t> timestamp(double deadline);

    /// The next event that has arrived, errors of unchecked requests included; nothing when there is none.
    XcbEvent takeEvent();
    /// As `takeEvent`, but waits until the deadline for one.
    XcbEvent waitForEvent(double deadline);

    /// Sends what is buffered and sleeps until there is something to read, here or on the other descriptor,
    /// or the deadline; infinity stands for none. To be called when `takeEvent` has nothing left.
    void waitForInput(int otherDescriptor, double deadline);

    /// Cuts the connection, which ends any wait inside it. From any thread.
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

/// The bytes of a property that was read.
std::vector<std::byte> bytesOf(const xcb_get_property_reply_t& property);
/// The numbers of a property of format 32; empty for another format.
std::vector<std::uint32_t> numbersOf(const xcb_get_property_reply_t& property);

} // namespace sonvale::adapters::x11
