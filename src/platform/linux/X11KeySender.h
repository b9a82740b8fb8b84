#pragma once

#include "platform/linux/SyntheticKeyLedger.h"
#include "platform/linux/X11Connection.h"

#include <vector>

namespace sonvale::platform::linux {

/// Types on the keyboards of the session through XTEST, and keeps the ledger of it.
class X11KeySender {
public:
    X11KeySender(X11Connection& connection, SyntheticKeyLedger& ledger)
        : connection_(connection)
        , ledger_(ledger) {}

    /// Types on a keyboard of `keyboards`. The strokes are on their way when it returns; nothing is awaited.
    void send(const X11Keyboards& keyboards, std::uint16_t device, const std::vector<KeyStroke>& strokes);

private:
    X11Connection& connection_;
    SyntheticKeyLedger& ledger_;
};

} // namespace sonvale::platform::linux
