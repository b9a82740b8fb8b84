#pragma once

#include "runtime/Clock.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sonvale::adapters::x11 {

/// A connection to the X server whose every wait has an end and whose errors are values: a request that the
/// server refuses, or that it does not answer in time, has no reply, and nothing else happens.
///
/// One thread at a time, `interrupt()` excepted. Deadlines are times of the clock that it was opened with.
class X11Connection {
public:
    struct Free {
        void operator()(void* memory) const { std::free(memory); }
    };
    template <class T>
    using Owned = std::unique_ptr<T, Free>;

    /// Null when the display cannot be reached or has no usable keyboard extensions (XInput 2.3, XKB, XTEST).
    /// An empty name means that of the environment.
    static std::unique_ptr<X11Connection> open(const std::string& displayName, const runtime::Clock& clock);
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    xcb_connection_t* raw() const { return connection_; }
    xcb_window_t root() const { return root_; }
    int descriptor() const { return xcb_get_file_descriptor(connection_); }
    bool isBroken() const { return xcb_connection_has_error(connection_) != 0; }
    const runtime::Clock& clock() const { return clock_; }

    /// Major opcode of XInput, which marks its events.
    std::uint8_t inputOpcode() const { return inputOpcode_; }
    /// First event number of XInput, from which XTEST counts the events of a single device.
    std::uint8_t inputFirstEvent() const { return inputFirstEvent_; }
    /// First event number of XKB.
    std::uint8_t xkbFirstEvent() const { return xkbFirstEvent_; }

    /// Waits for the reply to a request, by its sequence number; null on an error, and when `deadline` has
    /// passed.
    template <class Reply>
    Owned<Reply> replyTo(unsigned int request, double deadline) {
        return Owned<Reply>(static_cast<Reply*>(waitForReply(request, deadline)));
    }
    template <class Reply, class Cookie>
    Owned<Reply> reply(Cookie cookie, double deadline) {
        return Owned<Reply>(static_cast<Reply*>(waitForReply(cookie.sequence, deadline)));
    }

    /// Waits until the server has worked off all requests so far. False when it does not in time.
    bool synchronize(double deadline);

    /// Breaks the connection, so that a wait on another thread ends. From any thread.
    void interrupt();

private:
    X11Connection(xcb_connection_t* connection, int screen, const runtime::Clock& clock);
    bool prepareExtensions();
    void* waitForReply(unsigned int sequence, double deadline);

    xcb_connection_t* connection_;
    const runtime::Clock& clock_;
    xcb_window_t root_ = XCB_NONE;
    std::uint8_t inputOpcode_ = 0;
    std::uint8_t inputFirstEvent_ = 0;
    std::uint8_t xkbFirstEvent_ = 0;
};

/// The keyboards of the session, by their XInput numbers.
struct X11Keyboards {
    std::uint16_t master = 0; ///< the one that has the focus and the grabs
    std::uint16_t xtest = 0;  ///< the one that XTEST types on
    std::vector<std::uint16_t> hardware;

    bool isHardware(std::uint16_t device) const;
};

/// Asks for the keyboards. What is asked together is answered together.
unsigned int requestKeyboards(X11Connection& connection);
/// Absent when the server does not tell in time or has no master keyboard.
std::optional<X11Keyboards> receiveKeyboards(X11Connection& connection, unsigned int request,
                                             double deadline);

} // namespace sonvale::adapters::x11
