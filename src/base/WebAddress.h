#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

/// The absolute address of something on a server (RFC 3986). Every part of the program that decides whether
/// an address may be used, or where it leads, decides by this type.
///
/// The rules are stricter than the RFC's, so that no two readers of an accepted address can disagree about
/// its host: no user name or password, no escapes in the host, no port 0, and a host whose last label is a
/// number is an IPv4 address in four decimal parts (the resolver would take "127.1" and "0x7f000001" for one
/// too).
class WebAddress {
public:
    enum class Scheme { http, https, ws, wss };

    /// Returns nullopt if `text` is not such an address of one of the four schemes. Any thread.
    static std::optional<WebAddress> parse(std::string_view text);

    Scheme scheme() const { return scheme_; }
    bool isEncrypted() const { return scheme_ == Scheme::https || scheme_ == Scheme::wss; }

    /// In lower case; an IPv6 address without its brackets.
    const std::string& host() const { return host_; }
    /// The port of the scheme if the address names none.
    std::uint16_t port() const { return port_; }

    /// Whether the host is this machine: 127.0.0.0/8, ::1 or "localhost". A name that only begins like one
    /// ("127.0.0.1.example.org") is not.
    bool isLoopback() const;
    /// Whether what is sent there cannot be read on its way: the address is encrypted or on this machine.
    bool isConfidential() const { return isEncrypted() || isLoopback(); }

    /// Scheme, host and port, such as "https://example.org" or "http://[::1]:8080". The scheme's own port is
    /// left out. Equal texts are the same origin (RFC 6454).
    std::string origin() const;
    /// The origin, followed by path, query and fragment as they were given.
    std::string text() const { return origin() + rest_; }

private:
    WebAddress() = default;

    Scheme scheme_ = Scheme::http;
    std::string host_;
    bool isIpv6_ = false;
    std::uint16_t port_ = 0;
    std::string rest_; ///< path, query and fragment
};

/// Whether a host, in lower case and without brackets, is this machine. As `WebAddress::isLoopback`.
bool isLoopbackHost(std::string_view host);

/// Whether `text` is a URI or a relative reference (RFC 3986). Any thread.
bool isUriReference(std::string_view text);

} // namespace sonvale::base
