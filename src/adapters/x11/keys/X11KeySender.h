#pragma once

#include "adapters/x11/keys/SyntheticKeyLedger.h"
#include "adapters/x11/keys/X11Keyboards.h"

#include <vector>

namespace sonvale::adapters::x11 {

/// Types on the keyboards of the session through XTEST, and records the strokes in the ledger.
class X11KeySender {
public:
    X11KeySender(X11Connection& connection, const X11KeyboardExtensions& extensions,
                 SyntheticKeyLedger& ledger)
        : connection_(connection)
        , inputFirstEvent_(extensions.inputFirstEvent)
        , ledger_(ledger) {}

    /// Types on a keyboard of `keyboards`. The strokes are sent when it returns; it does not wait for the
    /// server.
    void send(const X11Keyboards& keyboards, std::uint16_t device, const std::vector<KeyStroke>& strokes);

private:
    X11Connection& connection_;
    const std::uint8_t inputFirstEvent_;
    SyntheticKeyLedger& ledger_;
};

} // namespace sonvale::adapters::x11
