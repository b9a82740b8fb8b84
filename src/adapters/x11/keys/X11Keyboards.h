#pragma once

#include "adapters/x11/X11Connection.h"

#include <bitset>
#include <cstdint>
#include <optional>
#include <vector>

namespace sonvale::adapters::x11 {

/// The numbers with which the server marks the events of its keyboard extensions.
struct X11KeyboardExtensions {
    std::uint8_t inputOpcode = 0;     ///< the major opcode of XInput, which its events carry
    std::uint8_t inputFirstEvent = 0; ///< the base from which XTEST counts the events of a single device
    std::uint8_t xkbFirstEvent = 0;
};

/// Announces XInput 2, XKB and XTEST to the server, as their requests need it. Returns nullopt if the server
/// does not answer in 2 s or has no usable version of one of them.
std::optional<X11KeyboardExtensions> useKeyboardExtensions(X11Connection& connection);

/// The keyboards of the session, by their XInput numbers.
struct X11Keyboards {
    std::uint16_t master = 0; ///< the one that has the focus and the grabs
    std::uint16_t xtest = 0;  ///< the one that XTEST types on
    std::vector<std::uint16_t> hardware;

    bool isHardware(std::uint16_t device) const;
};

/// Asks for the keyboards and returns the request's sequence number. Several requests that are sent before
/// the first reply is read need one round trip together.
unsigned int requestKeyboards(X11Connection& connection);
/// Returns nullopt if the server does not answer in time or has no master keyboard.
std::optional<X11Keyboards> receiveKeyboards(X11Connection& connection, unsigned int request,
                                             double deadline);

/// Returns the keys that are down, by key code.
std::bitset<256> keysDownIn(const xcb_query_keymap_reply_t& keymap);

} // namespace sonvale::adapters::x11
