#include "adapters/qt/LinkChanges.h"

#include "base/Log.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace sonvale::adapters::qt {

LinkChanges::LinkChanges(std::function<void()> onChange)
    : onChange_(std::move(onChange)) {
    socket_ = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV6_IFADDR;
    if (socket_ < 0 || bind(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        const base::Logger logger("PathMonitor");
        logger.error("changes of the link are not told of: {}", std::strerror(errno));
        return;
    }
    notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] {
        readAll();
        onChange_();
    });
}

LinkChanges::~LinkChanges() {
    notifier_.reset();
    if (socket_ >= 0)
        close(socket_);
}

void LinkChanges::readAll() const {
    // The content does not matter: the interfaces are read again. That also covers messages that were lost
    // because there were too many (ENOBUFS).
    std::array<char, 16384> messages;
    while (recv(socket_, messages.data(), messages.size(), 0) >= 0 || errno == ENOBUFS || errno == EINTR) {
    }
}

} // namespace sonvale::adapters::qt
