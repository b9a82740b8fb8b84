#include "adapters/qt/network/QtUrlSession.h"

#include "tests/contract/WebSocketTaskContract.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/TestServer.h"

namespace sonvale::tests {

namespace {

class FakeEnvironment {
public:
    FakeEnvironment() {
        fake_->control().onMessage(
            [](FakeSocket& socket, const platform::WebSocketMessage& message) { socket.deliver(message); });
    }

    platform::UrlSessions& sessions() { return *fake_; }
    void endSessions() { fake_.reset(); }
    std::string url() const { return "ws://fake/v1/realtime"; }

    void refuseHandshakes() {
        fake_->control().failHandshakes(
            platform::UrlError(platform::UrlError::Code::badServerResponse, "refused"));
    }
    void holdHandshakes() { fake_->control().holdHandshakes(); }
    void say(const platform::WebSocketMessage& message) { fake_->control().lastSocket()->deliver(message); }
    void close() { fake_->control().lastSocket()->close(); }

    ReceivedSocket socket() const {
        const auto socket = fake_->control().lastSocket();
        if (!socket)
            return {};
        const auto codes = socket->cancelCodes();
        return {socket->messages(), socket->isOpen(), codes.empty() ? std::nullopt : std::optional(codes[0]),
                socket->header("Authorization").value_or("")};
    }

private:
    std::unique_ptr<FakeUrlSessions> fake_ = std::make_unique<FakeUrlSessions>();
};

class QtEnvironment {
public:
    QtEnvironment() {
        realtime_.isEcho = true;
        server_.setRealtime(realtime_);
    }

    platform::UrlSessions& sessions() { return *sessions_; }
    void endSessions() { sessions_.reset(); }
    std::string url() const { return server_.socketUrl("/v1/realtime"); }

    void refuseHandshakes() {
        realtime_.refusesWithStatus = 401;
        server_.setRealtime(realtime_);
    }
    void holdHandshakes() {
        realtime_.handshakeSeconds = 2;
        server_.setRealtime(realtime_);
    }
    void say(const platform::WebSocketMessage& message) {
        if (message.kind == platform::WebSocketMessage::Kind::text)
            server_.send(message.bytes);
        else
            server_.sendBinary(message.bytes);
    }
    void close() { server_.closeAll(1000); }

    ReceivedSocket socket() const {
        if (server_.sockets().empty())
            return {};
        const auto socket = server_.socket();
        ReceivedSocket received;
        for (const auto& frame : socket.frames)
            received.messages.push_back({frame.isBinary ? platform::WebSocketMessage::Kind::binary
                                                        : platform::WebSocketMessage::Kind::text,
                                         frame.bytes});
        received.isOpen = socket.isOpen;
        received.closeCode = socket.closeCode;
        received.authorization = socket.handshake.header("Authorization");
        return received;
    }

private:
    Realtime realtime_;
    TestServer server_;
    std::unique_ptr<platform::UrlSessions> sessions_ = std::make_unique<adapters::qt::QtUrlSessions>();
};

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Fake, WebSocketTaskContract, FakeEnvironment);
INSTANTIATE_TYPED_TEST_SUITE_P(Qt, WebSocketTaskContract, QtEnvironment);

} // namespace sonvale::tests
