#include "tests/support/ServerNetwork.h"

#include "tests/support/ServiceAnswers.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/redirect_error.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/status.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <fcntl.h>
#include <fmt/format.h>

#include <chrono>
#include <future>
#include <list>
#include <map>
#include <stdexcept>
#include <thread>

namespace sonvale::tests {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using boost::system::error_code;
using boost::system::system_error;

using Time = std::chrono::steady_clock::time_point;
using PlainStream = beast::tcp_stream;
using TlsStream = beast::ssl_stream<beast::tcp_stream>;
template <class T = void>
using Awaitable = asio::awaitable<T>;

constexpr std::chrono::seconds maxWait{300};
constexpr std::chrono::seconds handshakeTimeout{10};
constexpr std::size_t largestMessage = std::size_t{64} << 20;
constexpr double trickleSeconds = 0.05;

std::chrono::nanoseconds duration(double seconds) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
}

Awaitable<> pause(double seconds) {
    if (seconds <= 0)
        co_return;
    asio::steady_timer timer(co_await asio::this_coro::executor, duration(seconds));
    co_await timer.async_wait(asio::use_awaitable);
}

/// Ignores an error of the connection, which only ends it. Any other error is a bug in the server and must be
/// seen.
void rethrowUnlessNetwork(const std::exception_ptr& exception) {
    try {
        if (exception)
            std::rethrow_exception(exception);
    } catch (const system_error&) {
        // The client has closed the connection, or this server has.
    }
}

bool isChunked(const Answer& answer) {
    return !answer.pieces.empty() || answer.fault == Answer::Fault::neverEnds ||
           answer.fault == Answer::Fault::breaksOff;
}

std::string headOf(const Answer& answer, bool keepsAlive) {
    const auto reason = http::obsolete_reason(static_cast<http::status>(answer.status));
    auto head =
        fmt::format("HTTP/1.1 {} {}\r\n", answer.status, std::string_view(reason.data(), reason.size()));
    for (const auto& [name, value] : answer.headers)
        head += fmt::format("{}: {}\r\n", name, value);
    if (headerValue(answer.headers, "Content-Type").empty())
        head += "Content-Type: application/json\r\n";
    if (isChunked(answer))
        head += "Transfer-Encoding: chunked\r\n";
    else
        head += fmt::format("Content-Length: {}\r\n", answer.body.size());
    return head + (keepsAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n");
}

std::string chunk(const std::string& bytes) {
    return bytes.empty() ? "" : fmt::format("{:x}\r\n{}\r\n", bytes.size(), bytes);
}

Awaitable<Answer> ask(TestServer::Handler handler, Request request) {
    try {
        co_return handler(request);
    } catch (const std::exception& error) {
        co_return serviceError(500, error.what());
    }
}

Awaitable<std::optional<std::string>> transcribe(std::function<std::string(const std::string&)> transcriber,
                                                 std::string samples) {
    try {
        co_return transcriber(samples);
    } catch (const std::exception&) {
        // The client learns that it failed; the reason concerns only the test.
        co_return std::nullopt;
    }
}

/// Shared by all connections. Used on the server's thread, except for `worker`.
struct Shared {
    ServerRecord& record;
    asio::io_context& context;
    asio::thread_pool& worker; ///< for code of the test, which may block
};

class ConnectionBase {
public:
    ConnectionBase() = default;
    ConnectionBase(const ConnectionBase&) = delete;
    ConnectionBase& operator=(const ConnectionBase&) = delete;
    virtual ~ConnectionBase() = default;

    /// Resets it (TCP RST).
    virtual void reset() = 0;
    virtual bool isOpenSocket() const = 0;
    virtual void perform(SocketAction action) = 0;
};

/// One connection from its acceptance to its end: one request after the other, then possibly a socket.
template <class Stream>
class Connection final : public ConnectionBase {
public:
    using Pointer = std::shared_ptr<Connection>;

    Connection(Shared shared, Stream stream)
        : shared_(shared)
        , stream_(std::move(stream))
        , number_(shared_.record.connectionOpened())
        , due_(shared_.context) {}
    ~Connection() override { shared_.record.connectionClosed(); }

    static Awaitable<> run(Pointer self) {
        self->tcpStream().socket().set_option(tcp::no_delay(true));
        if constexpr (std::is_same_v<Stream, TlsStream>) {
            self->tcpStream().expires_after(handshakeTimeout);
            co_await self->stream_.async_handshake(asio::ssl::stream_base::server, asio::use_awaitable);
        }
        while (co_await self->serveOne(self)) {
        }
        if (!self->tcpStream().socket().is_open())
            co_return;
        if constexpr (std::is_same_v<Stream, TlsStream>) {
            if (!self->endsRoughly_) {
                self->tcpStream().expires_after(std::chrono::seconds(1));
                co_await self->stream_.async_shutdown(asio::use_awaitable);
            }
        }
        error_code ignored; // it may have been closed already
        self->tcpStream().socket().shutdown(tcp::socket::shutdown_send, ignored);
        self->tcpStream().socket().close(ignored);
    }

    void reset() override {
        auto& socket = tcpStream().socket();
        error_code ignored; // it may have been closed already
        socket.set_option(asio::socket_base::linger(true, 0), ignored);
        socket.close(ignored);
    }

    bool isOpenSocket() const override { return socket_ && socket_->is_open() && !isClosing_; }

    void perform(SocketAction action) override {
        const auto delay = action.delaySeconds;
        outgoing_.emplace(std::chrono::steady_clock::now() + duration(delay), std::move(action));
        due_.cancel();
    }

private:
    using Parser = http::request_parser<http::string_body>;

    beast::tcp_stream& tcpStream() {
        return socket_ ? beast::get_lowest_layer(*socket_) : beast::get_lowest_layer(stream_);
    }

    Request requestIn(const Parser& parser) const {
        const auto& message = parser.get();
        Request request{.method = std::string(message.method_string()),
                        .target = std::string(message.target()),
                        .headers = {},
                        .body = message.body(),
                        .connection = number_,
                        .monotonicTime = monotonicSeconds()};
        for (const auto& field : message)
            request.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
        return request;
    }

    /// Serves one request. Returns whether another one may follow.
    Awaitable<bool> serveOne(Pointer self) {
        Parser parser;
        parser.body_limit(boost::none);
        tcpStream().expires_after(maxWait);
        co_await http::async_read_header(stream_, buffer_, parser, asio::use_awaitable);
        auto request = requestIn(parser);

        if (websocket::is_upgrade(parser.get()) && request.path() == "/v1/realtime") {
            shared_.record.received(request);
            co_return co_await open(std::move(self), parser.release(), std::move(request));
        }

        auto refusal = shared_.record.refusal(request);
        auto reply = refusal ? *std::move(refusal) : shared_.record.nextReply(request.path());
        const auto* const scripted = std::get_if<Answer>(&reply);
        if (scripted && scripted->fault == Answer::Fault::closesInUpload) {
            shared_.record.received(std::move(request));
            endsRoughly_ = true;
            co_return false;
        }
        if (request.header("Expect") == "100-continue")
            co_await write("HTTP/1.1 100 Continue\r\n\r\n");
        co_await http::async_read(stream_, buffer_, parser, asio::use_awaitable);
        request = requestIn(parser);
        shared_.record.received(request);

        auto answer = scripted ? std::move(*std::get_if<Answer>(&reply))
                               : co_await asio::co_spawn(
                                     shared_.worker.get_executor(),
                                     ask(std::move(std::get<TestServer::Handler>(reply)), std::move(request)),
                                     asio::use_awaitable);
        co_return co_await give(std::move(answer), parser.keep_alive());
    }

    Awaitable<> write(std::string bytes) {
        tcpStream().expires_after(maxWait);
        co_await asio::async_write(stream_, asio::buffer(bytes), asio::use_awaitable);
    }

    /// Reads and drops everything until the client ends the connection.
    Awaitable<> waitForEnd() {
        tcpStream().expires_after(maxWait);
        std::array<char, 1024> dropped{};
        for (;;)
            co_await stream_.async_read_some(asio::buffer(dropped), asio::use_awaitable);
    }

    Awaitable<bool> give(Answer answer, bool keepsAlive) {
        using Fault = Answer::Fault;

        co_await pause(answer.delaySeconds);
        endsRoughly_ = answer.fault != Fault::none;
        switch (answer.fault) {
        case Fault::closesBeforeAnswer:
        case Fault::closesInUpload:
            co_return false;
        case Fault::resets:
            reset();
            co_return false;
        case Fault::neverAnswers:
            co_await waitForEnd();
            co_return false;
        case Fault::sendsGarbage:
            co_await write("\x15\x03\x01 this is no answer\r\n\r\n\r\n");
            co_return false;
        case Fault::closesInBody:
            co_await write(headOf(answer, keepsAlive) + answer.body.substr(0, answer.body.size() / 2));
            co_return false;
        case Fault::tricklesSlowly:
            co_await write(headOf(answer, keepsAlive));
            for (const char byte : answer.body) {
                co_await pause(answer.pieceSeconds > 0 ? answer.pieceSeconds : trickleSeconds);
                co_await write(std::string(1, byte));
            }
            break;
        case Fault::none:
        case Fault::neverEnds:
            co_await giveWhole(std::move(answer), keepsAlive);
            break;
        case Fault::breaksOff:
            co_await giveWhole(std::move(answer), keepsAlive);
            co_return false;
        }
        co_return keepsAlive;
    }

    Awaitable<> giveWhole(Answer answer, bool keepsAlive) {
        const auto head = headOf(answer, keepsAlive);
        co_await write(head + (isChunked(answer) ? chunk(answer.body) : answer.body));
        for (const auto& piece : answer.pieces) {
            co_await pause(answer.pieceSeconds);
            co_await write(chunk(piece));
        }
        if (answer.fault == Answer::Fault::neverEnds)
            co_await waitForEnd();
        if (isChunked(answer) && answer.fault != Answer::Fault::breaksOff)
            co_await write("0\r\n\r\n");
    }

    Awaitable<bool> open(Pointer self, http::request<http::string_body> upgrade, Request handshake) {
        auto script = shared_.record.realtime();
        co_await pause(script.handshakeSeconds);
        if (auto refusal = shared_.record.refusal(handshake))
            co_return co_await give(*std::move(refusal), false);
        if (script.refusesWithStatus != 0)
            co_return co_await give(serviceError(script.refusesWithStatus, "The socket was refused."), false);
        if (!script.token.empty() && handshake.header("Authorization") != "Bearer " + script.token)
            co_return co_await give(serviceError(401, "Incorrect API key provided.", "invalid_api_key"),
                                    false);

        tcpStream().expires_never(); // the socket has its own time limits
        endsRoughly_ = true;         // and sends its own close
        socket_.emplace(std::move(stream_));
        socket_->set_option(
            websocket::stream_base::timeout{handshakeTimeout, websocket::stream_base::none(), false});
        socket_->read_message_max(largestMessage);
        // A close frame counts when it arrives: the read ends only after the client has closed the connection
        // too.
        socket_->control_callback([this](websocket::frame_type type, beast::string_view) {
            if (type == websocket::frame_type::close)
                shared_.record.socketClosed(*index_, closeCode());
        });
        co_await socket_->async_accept(upgrade, asio::use_awaitable);

        index_ = shared_.record.socketOpened(std::move(handshake));
        conversation_.emplace(std::move(script));
        asio::co_spawn(shared_.context, writeSocket(self), rethrowUnlessNetwork);
        performAll(conversation_->opened());
        try {
            for (;;)
                co_await readFrame(self);
        } catch (const system_error&) {
            // The socket has ended, in any way. A close frame was recorded when it arrived.
        }
        shared_.record.socketClosed(*index_, std::nullopt);
        isClosing_ = true;
        due_.cancel();
        co_return false;
    }

    /// Returns the code of the client's close frame.
    int closeCode() const {
        const int code = socket_->reason().code;
        return code == websocket::close_code::none ? int{websocket::close_code::no_status} : code;
    }

    Awaitable<> readFrame(Pointer self) {
        beast::flat_buffer buffer;
        co_await socket_->async_read(buffer, asio::use_awaitable);
        const auto bytes = buffer.cdata();
        SocketFrame frame{.monotonicTime = monotonicSeconds(),
                          .isBinary = socket_->got_binary(),
                          .bytes = {static_cast<const char*>(bytes.data()), bytes.size()}};
        auto reaction = conversation_->received(frame.bytes, frame.isBinary);
        shared_.record.received(*index_, std::move(frame), reaction.isAppend, reaction.isCommit);
        for (auto& action : reaction.actions) {
            if (action.kind == SocketAction::Kind::transcribe)
                asio::co_spawn(shared_.context, listen(self, std::move(action.bytes)), rethrowUnlessNetwork);
            else
                perform(std::move(action));
        }
    }

    Awaitable<> listen(Pointer, std::string samples) {
        auto text = co_await asio::co_spawn(
            shared_.worker.get_executor(),
            transcribe(conversation_->script().transcriber, std::move(samples)), asio::use_awaitable);
        performAll(conversation_->transcribed(text));
    }

    void performAll(std::vector<SocketAction> actions) {
        for (auto& action : actions)
            perform(std::move(action));
    }

    /// Runs the actions whose time has come, one after the other, until the socket has ended.
    Awaitable<> writeSocket(Pointer self) {
        while (!isClosing_) {
            const auto now = std::chrono::steady_clock::now();
            if (outgoing_.empty() || outgoing_.begin()->first > now) {
                due_.expires_at(outgoing_.empty() ? now + maxWait : outgoing_.begin()->first);
                error_code woken; // cancelled if there are more actions, or none any more
                co_await due_.async_wait(asio::redirect_error(asio::use_awaitable, woken));
                continue;
            }
            auto action = std::move(outgoing_.begin()->second);
            outgoing_.erase(outgoing_.begin());
            co_await carryOut(self, std::move(action));
        }
    }

    Awaitable<> carryOut(Pointer, SocketAction action) {
        switch (action.kind) {
        case SocketAction::Kind::send:
            socket_->binary(action.isBinary);
            co_await socket_->async_write(asio::buffer(action.bytes), asio::use_awaitable);
            shared_.record.sent(*index_, {.monotonicTime = monotonicSeconds(),
                                          .isBinary = action.isBinary,
                                          .bytes = std::move(action.bytes)});
            break;
        case SocketAction::Kind::ping:
            co_await socket_->async_ping({}, asio::use_awaitable);
            break;
        case SocketAction::Kind::close:
            isClosing_ = true;
            shared_.record.socketClosed(*index_, std::nullopt);
            co_await socket_->async_close(
                {static_cast<websocket::close_code>(action.closeCode), action.bytes}, asio::use_awaitable);
            shared_.record.socketClosed(*index_, closeCode());
            break;
        case SocketAction::Kind::reset:
            isClosing_ = true;
            reset();
            break;
        case SocketAction::Kind::transcribe:
            break;
        }
    }

    Shared shared_;
    Stream stream_;
    int number_;
    bool endsRoughly_ = false; ///< without the close notification of TLS
    beast::flat_buffer buffer_;

    std::optional<websocket::stream<Stream>> socket_;
    std::optional<RealtimeConversation> conversation_;
    std::optional<std::size_t> index_;
    std::multimap<Time, SocketAction> outgoing_; ///< actions with equal times keep their order
    asio::steady_timer due_;
    bool isClosing_ = false;
};

/// A program that a test starts would keep the socket open, and a closed port would still accept connections.
void keepFromPrograms(int descriptor) {
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

} // namespace

struct ServerNetwork::Impl {
    Impl(ServerRecord& record, int port, const TestCertificates* certificates, int listener)
        : shared{.record = record, .context = context, .worker = worker} {
        if (certificates) {
            tls.emplace(asio::ssl::context::tls_server);
            tls->use_certificate_chain_file(certificates->certificateFile());
            tls->use_private_key_file(certificates->keyFile(), asio::ssl::context::pem);
        }
        if (listener < 0) {
            listenOn(static_cast<unsigned short>(port));
        } else {
            acceptor.emplace(context, tcp::v4(), listener);
            asio::co_spawn(context, acceptAll(), rethrowUnlessNetwork);
        }
        this->port = acceptor->local_endpoint().port();
        thread = std::thread([this] { context.run(); });
    }

    ~Impl() {
        worker.stop();
        worker.join();
        context.stop();
        thread.join();
    }

    /// Reserves the port against other tests of this machine. A socket that does not listen refuses
    /// connections.
    void reserve(unsigned short wanted) {
        reservation.emplace(context, tcp::v4());
        reservation->set_option(tcp::socket::reuse_address(true));
        const tcp::endpoint place(asio::ip::address_v4::loopback(), wanted);
        // A starting program has copies of all sockets until its exec.
        boost::system::error_code failure;
        for (int attempts = 400; reservation->bind(place, failure), failure && attempts > 0; --attempts)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        if (failure)
            throw boost::system::system_error(failure);
        keepFromPrograms(reservation->native_handle());
    }

    void listenOn(unsigned short wanted) {
        acceptor.emplace(context, tcp::endpoint(asio::ip::address_v4::loopback(), wanted));
        keepFromPrograms(acceptor->native_handle());
        asio::co_spawn(context, acceptAll(), rethrowUnlessNetwork);
    }

    Awaitable<> acceptAll() {
        for (;;) {
            error_code failure;
            auto stream = co_await acceptor->async_accept(asio::redirect_error(asio::use_awaitable, failure));
            if (failure == asio::error::operation_aborted)
                co_return;
            if (failure) { // an error of this connection, or too many are open
                co_await pause(0.01);
                continue;
            }
            keepFromPrograms(stream.native_handle());
            if (tls)
                start(std::make_shared<Connection<TlsStream>>(
                    shared, TlsStream(beast::tcp_stream(std::move(stream)), *tls)));
            else
                start(std::make_shared<Connection<PlainStream>>(shared, PlainStream(std::move(stream))));
        }
    }

    template <class Stream>
    void start(std::shared_ptr<Connection<Stream>> connection) {
        connections.remove_if([](const auto& former) { return former.expired(); });
        connections.push_back(connection);
        asio::co_spawn(context, Connection<Stream>::run(connection), rethrowUnlessNetwork);
    }

    /// Runs `work` on the server's thread and waits for it.
    void onThread(const std::function<void()>& work) {
        const auto task = std::make_shared<std::packaged_task<void()>>(work);
        auto isDone = task->get_future();
        asio::post(context, [task] { (*task)(); });
        isDone.get();
    }

    void forEach(const std::function<bool(ConnectionBase&)>& visit) {
        for (auto entry = connections.rbegin(); entry != connections.rend(); ++entry)
            if (const auto connection = entry->lock(); connection && visit(*connection))
                return;
    }

    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> staysAwake{context.get_executor()};
    asio::thread_pool worker{1};
    Shared shared;
    std::optional<asio::ssl::context> tls;
    std::optional<tcp::acceptor> acceptor;
    std::optional<tcp::socket> reservation; ///< reserves the port while the server does not listen
    std::list<std::weak_ptr<ConnectionBase>> connections; ///< in order of their acceptance
    std::thread thread;
    int port = 0;
};

ServerNetwork::ServerNetwork(ServerRecord& record, int port, const TestCertificates* certificates,
                             int listener)
    : impl_(std::make_unique<Impl>(record, port, certificates, listener)) {}

ServerNetwork::~ServerNetwork() = default;

int ServerNetwork::port() const {
    return impl_->port;
}

void ServerNetwork::toNewestSocket(SocketAction action) {
    impl_->onThread([&] {
        impl_->forEach([&](ConnectionBase& connection) {
            if (!connection.isOpenSocket())
                return false;
            connection.perform(action);
            return true;
        });
    });
}

void ServerNetwork::toAllSockets(SocketAction action) {
    impl_->onThread([&] {
        impl_->forEach([&](ConnectionBase& connection) {
            if (connection.isOpenSocket())
                connection.perform(action);
            return false;
        });
    });
}

void ServerNetwork::dropAll() {
    impl_->onThread([&] {
        impl_->forEach([](ConnectionBase& connection) {
            connection.reset();
            return false;
        });
    });
}

void ServerNetwork::setListening(bool isListening) {
    impl_->onThread([&] {
        if (isListening == impl_->acceptor->is_open())
            return;
        if (isListening) {
            impl_->reservation.reset();
            impl_->listenOn(static_cast<unsigned short>(impl_->port));
        } else {
            impl_->acceptor->close();
            impl_->reserve(static_cast<unsigned short>(impl_->port));
        }
    });
}

} // namespace sonvale::tests
