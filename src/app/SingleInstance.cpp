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

/// Returns nullopt for a path that is too long for such an address.
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
        return; // another start then only reports that the program runs
    socket_ = makeSocket();
    // An instance that was killed has left its socket.
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

bool SingleInstance::notifyFirst() const {
    const auto address = addressOf(socketPath_);
    const int sender = makeSocket();
    if (!address || sender < 0)
        return false;
    const char byte = 1;
    const bool isSent = sendto(sender, &byte, 1, 0, general(*address), sizeof *address) == 1;
    close(sender);
    return isSent;
}

} // namespace sonvale::app
