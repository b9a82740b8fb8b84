#pragma once

#include "platform/PathMonitor.h"

#include <QNetworkInterface>
#include <cstdint>

namespace sonvale::adapters::qt {

/// Returns the path that the interfaces show: it is satisfied if one besides the loopback is up and has its
/// carrier.
platform::NetworkPath pathOf(const QList<QNetworkInterface>& interfaces);

/// Returns a number for the set of addresses with which the machine reaches others, 0 if there are none.
/// Leaves out addresses of the loopback and of single links, which appear and disappear with virtual
/// interfaces.
std::uint64_t addressesOf(const QList<QNetworkInterface>& interfaces);

} // namespace sonvale::adapters::qt
