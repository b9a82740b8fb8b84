#include "tests/support/TestServer.h"

#include "base/Base64.h"
#include "tests/support/ServerNetwork.h"
#include "tests/support/ServerRecord.h"
#include "tests/support/TestCertificates.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <stdexcept>

namespace sonvale::tests {

std::string headerValue(const Headers& headers, const std::string& name) {
    const auto found = std::ranges::find_if(
        headers, [&](const auto& header) { return ::strcasecmp(header.first.c_str(), name.c_str()) == 0; });
    return found == headers.end() ? "" : found->second;
}

std::string Request::path() const {
    return target.substr(0, target.find('?'));
}

std::string Socket::audio() const {
    std::string result;
    for (const auto& append : events("input_audio_buffer.append"))
        result += base::decodeBase64(base::jsonString(append, "audio").value_or("")).value_or("");
    return result;
}

std::vector<base::Json> Socket::events(const std::string& type) const {
    std::vector<base::Json> result;
    for (const auto& frame : frames) {
        auto json = base::parseJson(frame.bytes);
        if (!frame.isBinary && json && base::jsonString(*json, "type") == type)
            result.push_back(std::move(*json));
    }
    return result;
}

struct TestServer::Impl {
    explicit Impl(Options options)
        : certificates(!options.isTls         ? nullptr
                       : options.certificates ? std::move(options.certificates)
                                              : std::make_shared<const TestCertificates>())
        , network(record, options.port, certificates.get(), options.listener) {}

    std::string address(const char* scheme, const std::string& path) const {
        return fmt::format("{}{}://127.0.0.1:{}{}", scheme, certificates ? "s" : "", network.port(), path);
    }

    std::shared_ptr<const TestCertificates> certificates;
    ServerRecord record;
    ServerNetwork network;
};

TestServer::TestServer()
    : TestServer(Options{}) {}

TestServer::TestServer(Options options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

TestServer::~TestServer() = default;

int TestServer::port() const {
    return impl_->network.port();
}

std::string TestServer::url(const std::string& path) const {
    return impl_->address("http", path);
}

std::string TestServer::socketUrl(const std::string& path) const {
    return impl_->address("ws", path);
}

std::filesystem::path TestServer::caFile() const {
    if (!impl_->certificates)
        throw std::logic_error("a plain server has no certificates");
    return impl_->certificates->caFile();
}

void TestServer::answer(const std::string& path, Answer answer) {
    impl_->record.answer(path, std::move(answer));
}

void TestServer::answerBy(const std::string& path, Handler handler) {
    impl_->record.answerBy(path, std::move(handler));
}

void TestServer::forget(const std::string& path) {
    impl_->record.forget(path);
}

void TestServer::guard(const std::string& path, Guard guard) {
    impl_->record.guard(path, std::move(guard));
}

void TestServer::setRealtime(Realtime realtime) {
    impl_->record.setRealtime(std::move(realtime));
}

std::vector<Request> TestServer::requests() const {
    return impl_->record.requests();
}

std::vector<Request> TestServer::requests(const std::string& path) const {
    auto result = requests();
    std::erase_if(result, [&](const Request& request) { return request.path() != path; });
    return result;
}

std::vector<Socket> TestServer::sockets() const {
    return impl_->record.sockets();
}

Socket TestServer::socket() const {
    return impl_->record.socket();
}

int TestServer::connections() const {
    return impl_->record.totals().connections;
}

int TestServer::openConnections() const {
    return impl_->record.totals().openConnections;
}

bool TestServer::waitForRequests(int count, double seconds) const {
    return impl_->record.waitFor(seconds, [=](const auto& totals) { return totals.requests >= count; });
}

bool TestServer::waitForRequests(const std::string& path, int count, double seconds) const {
    return impl_->record.waitFor(seconds, [&](const auto& totals) {
        const auto found = totals.requestsByPath.find(path);
        return (found == totals.requestsByPath.end() ? 0 : found->second) >= count;
    });
}

bool TestServer::waitForSockets(int count, double seconds) const {
    return impl_->record.waitFor(seconds, [=](const auto& totals) { return totals.sockets >= count; });
}

bool TestServer::waitForFrames(int count, double seconds) const {
    return impl_->record.waitFor(seconds, [=](const auto& totals) { return totals.frames >= count; });
}

bool TestServer::waitForAppends(int count, double seconds) const {
    return impl_->record.waitFor(seconds, [=](const auto& totals) { return totals.appends >= count; });
}

bool TestServer::waitForCommits(int count, double seconds) const {
    return impl_->record.waitFor(seconds, [=](const auto& totals) { return totals.commits >= count; });
}

bool TestServer::waitForClosedSockets(int count, double seconds) const {
    return impl_->record.waitFor(seconds, [=](const auto& totals) { return totals.closedSockets >= count; });
}

bool TestServer::waitForOpenConnections(int count, double seconds) const {
    return impl_->record.waitFor(seconds,
                                 [=](const auto& totals) { return totals.openConnections == count; });
}

void TestServer::send(std::string text) {
    impl_->network.toNewestSocket({.bytes = std::move(text)});
}

void TestServer::sendBinary(std::string bytes) {
    impl_->network.toNewestSocket({.bytes = std::move(bytes), .isBinary = true});
}

void TestServer::ping() {
    impl_->network.toNewestSocket({.kind = SocketAction::Kind::ping});
}

void TestServer::closeAll(int code, std::string reason) {
    impl_->network.toAllSockets(
        {.kind = SocketAction::Kind::close, .bytes = std::move(reason), .closeCode = code});
}

void TestServer::dropAll() {
    impl_->network.dropAll();
}

void TestServer::setListening(bool isListening) {
    impl_->network.setListening(isListening);
}

int unusedPort() {
    const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const bool isBound = ::bind(descriptor, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                         ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0;
    ::close(descriptor);
    if (!isBound)
        throw std::runtime_error("there is no unused port");
    return ntohs(address.sin_port);
}

} // namespace sonvale::tests
