#pragma once

#include "tests/support/ChildProcess.h"

#include <filesystem>
#include <optional>
#include <string>

namespace sonvale::tests {

/// A connection to 127.0.0.1 on which a test writes and reads bytes as it likes, and a WebSocket written by
/// hand (RFC 6455). Every wait ends; what does not come in time throws `std::runtime_error`.
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
    /// By TLS, which the openssl command speaks; it trusts this authority alone.
    RawClient(int port, const std::filesystem::path& caFile);
    ~RawClient();
    RawClient(const RawClient&) = delete;
    RawClient& operator=(const RawClient&) = delete;

    void send(const std::string& bytes) const;
    /// Everything up to and with the mark; what follows stays for the next call.
    std::string readUntil(const std::string& mark, double seconds = 5);
    std::string read(std::size_t count, double seconds = 5);
    /// What still comes within the time until the other side ends the connection.
    std::string readToEnd(double seconds = 5);
    /// How the last `readToEnd` ended.
    End end() const { return end_; }
    /// Closes this side's half.
    void finish() const;

    /// Asks for a WebSocket and returns the head of the answer.
    std::string upgrade(const std::string& path, const std::string& headers = "");
    /// Masked, as a client must.
    void sendFrame(int opcode, const std::string& payload, bool isLast = true) const;
    Frame readFrame(double seconds = 5);

private:
    /// False when nothing came in time or the connection has ended.
    bool receive(double untilMonotonicSeconds);

    int descriptor_ = -1;
    std::optional<ChildProcess> tls_;
    std::string received_;
    End end_ = End::stillOpen;
};

} // namespace sonvale::tests
