#include "tests/support/RawClient.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <utility>

namespace sonvale::tests {

namespace {

constexpr std::array<char, 4> mask{0x12, 0x34, 0x56, 0x78};

} // namespace

RawClient::RawClient(int port)
    : descriptor_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    if (::connect(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(descriptor_);
        throw std::runtime_error("the connection was refused");
    }
}

RawClient::RawClient(int port, const std::filesystem::path& caFile) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::runtime_error("there are no sockets");
    descriptor_ = ends[0];
    tls_.emplace(ChildProcess::Options{
        .arguments = {"openssl", "s_client", "-quiet", "-verify_return_error", "-verifyCAfile",
                      caFile.string(), "-connect", "127.0.0.1:" + std::to_string(port)},
        .environment = {},
        .withoutEnvironment = {},
        .outputFile = {},
        .descriptors = {{ends[1], 0}, {ends[1], 1}},
    });
    ::close(ends[1]);
}

RawClient::~RawClient() {
    ::close(descriptor_);
}

void RawClient::send(const std::string& bytes) const {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const auto count = ::send(descriptor_, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count < 0 && errno != EINTR)
            throw std::runtime_error("the connection takes no more");
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

bool RawClient::receive(double untilMonotonicSeconds) {
    pollfd ready{.fd = descriptor_, .events = POLLIN, .revents = 0};
    const auto left = static_cast<int>((untilMonotonicSeconds - monotonicSeconds()) * 1000);
    if (::poll(&ready, 1, std::max(left, 0)) <= 0)
        return false;
    std::array<char, 65536> bytes{};
    const auto count = ::recv(descriptor_, bytes.data(), bytes.size(), 0);
    if (count <= 0) {
        end_ = count == 0 ? End::closed : End::reset;
        return false;
    }
    received_.append(bytes.data(), static_cast<std::size_t>(count));
    return true;
}

std::string RawClient::readUntil(const std::string& mark, double seconds) {
    const auto until = monotonicSeconds() + seconds;
    while (received_.find(mark) == std::string::npos)
        if (!receive(until))
            throw std::runtime_error("it did not come; only this: " + received_);
    const auto count = received_.find(mark) + mark.size();
    return read(count, seconds);
}

std::string RawClient::read(std::size_t count, double seconds) {
    const auto until = monotonicSeconds() + seconds;
    while (received_.size() < count)
        if (!receive(until))
            throw std::runtime_error("too few bytes came; only these: " + received_);
    auto result = received_.substr(0, count);
    received_.erase(0, count);
    return result;
}

std::string RawClient::readToEnd(double seconds) {
    const auto until = monotonicSeconds() + seconds;
    end_ = End::stillOpen;
    while (receive(until)) {
    }
    return std::exchange(received_, {});
}

void RawClient::finish() const {
    ::shutdown(descriptor_, SHUT_WR);
}

std::string RawClient::upgrade(const std::string& path, const std::string& headers) {
    send("GET " + path +
         " HTTP/1.1\r\nHost: 127.0.0.1\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
         "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n" +
         headers + "\r\n");
    return readUntil("\r\n\r\n");
}

void RawClient::sendFrame(int opcode, const std::string& payload, bool isLast) const {
    std::string frame{static_cast<char>((isLast ? 0x80 : 0) | opcode)};
    const auto size = payload.size();
    const int lengthBytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
    frame += static_cast<char>(0x80 | (lengthBytes == 0 ? size : lengthBytes == 2 ? 126 : 127));
    for (int byte = lengthBytes - 1; byte >= 0; --byte)
        frame += static_cast<char>(size >> (8 * byte));
    frame.append(mask.data(), mask.size());
    for (std::size_t index = 0; index < size; ++index)
        frame += static_cast<char>(payload[index] ^ mask[index % mask.size()]);
    send(frame);
}

RawClient::Frame RawClient::readFrame(double seconds) {
    const auto head = read(2, seconds);
    std::size_t size = static_cast<unsigned char>(head[1]);
    const std::size_t lengthBytes = size < 126 ? 0 : size == 126 ? 2 : 8;
    if (lengthBytes != 0) {
        size = 0;
        for (const unsigned char byte : read(lengthBytes, seconds))
            size = size << 8 | byte;
    }
    return {.opcode = head[0] & 0x0F, .payload = read(size, seconds)};
}

} // namespace sonvale::tests
