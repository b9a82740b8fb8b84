#pragma once

#include "platform/PathMonitor.h"

#include <QNetworkInformation>
#include <QNetworkInterface>

namespace sonvale::platform::qt {

/// What the system's network service says. One that does not know may be connected.
NetworkPath pathOf(const QNetworkInformation& information);

/// What the interfaces show: something can be reached when one beside the loopback is up and has its carrier.
NetworkPath pathOf(const QList<QNetworkInterface>& interfaces);

} // namespace sonvale::platform::qt
