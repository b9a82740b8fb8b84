#pragma once

#include "tests/support/ChildProcess.h"

#include <filesystem>
#include <optional>
#include <string>

namespace sonvale::tests {

/// A connection to 127.0.0.1 on which a test writes and reads any bytes, and a handwritten WebSocket (RFC
/// 6455). Every wait has a limit; then it throws `std::runtime_error`.
class RawClient {
public:
    enum class End { closed, reset, stillOpen };
    enum Opcode : int { continuation = 0, text = 1, binary = 2, close = 8, ping = 9, pong = 10 };

    struct Frame {
        int opcode = 0;
        std::string payload;
        bool operator==(const Frame&) const = default;
    };

    explicit RawClient(int port);
    /// Connects with TLS through the openssl command, which trusts only this authority.
    RawClient(int port, const std::filesystem::path& caFile);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void send(const std::string& bytes) const;
    /// Reads up to and including the mark. The rest stays for the next call.
    std::string readUntil(const std::string& mark, double seconds = 5);
    std::string read(std::size_t count, double seconds = 5);
    /// Reads until the server ends the connection, for up to the time.
    std::string readToEnd(double seconds = 5);
    /// Returns how the last `readToEnd` ended.
    End end() const { return end_; }
    /// Closes the sending half of the connection.
    void finish() const;

    /// Requests a WebSocket and returns the head of the answer.
    std::string upgrade(const std::string& path, const std::string& headers = "");
    /// Sends a masked frame, as a client must.
    void sendFrame(int opcode, const std::string& payload, bool isLast = true) const;
    Frame readFrame(double seconds = 5);

private:
    /// Returns false if nothing arrived in time or the connection has ended.
    bool receive(double untilMonotonicSeconds);

    int descriptor_ = -1;
    std::optional<ChildProcess> tls_;
    std::string received_;
    End end_ = End::stillOpen;
};

} // namespace sonvale::tests
