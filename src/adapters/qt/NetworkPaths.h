#pragma once

#include "platform/PathMonitor.h"

#include <QNetworkInterface>
#include <cstdint>

namespace sonvale::adapters::qt {

/// What the interfaces show: something can be reached when one beside the loopback is up and has its carrier.
platform::NetworkPath pathOf(const QList<QNetworkInterface>& interfaces);

/// A value for the set of addresses by which the machine reaches others; 0 without any. Leaves out addresses
/// of the loopback and of single links, which come and go with virtual interfaces.
std::uint64_t addressesOf(const QList<QNetworkInterface>& interfaces);

} // namespace sonvale::adapters::qt
