#include "app/SingleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <optional>

namespace sonvale::app {

namespace {

int makeSocket() {
    return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
}

/// Absent for a path that is longer than such an address can be.
std::optional<sockaddr_un> addressOf(const std::filesystem::path& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.native().size() >= sizeof address.sun_path)
        return std::nullopt;
    std::memcpy(address.sun_path, path.c_str(), path.native().size());
    return address;
}

const sockaddr* general(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace

SingleInstance::SingleInstance(const std::filesystem::path& directory, const std::string& session) {
    std::string name = session;
    std::ranges::replace_if(name, [](unsigned char c) { return std::isalnum(c) == 0; }, '-');
    const auto path = directory / ("instance" + name + ".lock");
    socketPath_ = directory / ("instance" + name + ".socket");
    lock_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (lock_ >= 0)
        isFirst_ = flock(lock_, LOCK_EX | LOCK_NB) == 0;
}

SingleInstance::~SingleInstance() {
    notifier_.reset();
    if (socket_ >= 0) {
        unlink(socketPath_.c_str());
        close(socket_);
    }
    if (lock_ >= 0)
        close(lock_);
}

void SingleInstance::listen(std::function<void()> onReopen) {
    const auto address = addressOf(socketPath_);
    if (!address)
        return; // another start then says that the program runs, and no more
    socket_ = makeSocket();
    // One that did not end in order has left its own.
    unlink(socketPath_.c_str());
    if (socket_ < 0 || bind(socket_, general(*address), sizeof *address) != 0)
        return;
    notifier_ = std::make_unique<QSocketNotifier>(socket_, QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                     [socket = socket_, onReopen = std::move(onReopen)] {
                         char byte = 0;
                         while (recv(socket, &byte, 1, 0) >= 0) {
                         }
                         onReopen();
                     });
}

bool SingleInstance::tellFirst() const {
    const auto address = addressOf(socketPath_);
    const int teller = makeSocket();
    if (!address || teller < 0)
        return false;
    const char byte = 1;
    const bool isTold = sendto(teller, &byte, 1, 0, general(*address), sizeof *address) == 1;
    close(teller);
    return isTold;
}

} // namespace sonvale::app
