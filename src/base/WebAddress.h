#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

/// The absolute address of a resource on a server (RFC 3986). Every part of the program that decides whether
/// an address may be used, or where it leads, uses this type.
///
/// The rules are stricter than the RFC's, so that no two parsers of an accepted address can disagree about
/// its host: no user name or password, no escapes in the host, no port 0, and a host whose last label is a
/// number is an IPv4 address in four decimal parts (the resolver would accept "127.1" and "0x7f000001" too).
class WebAddress {
public:
    enum class Scheme { http, https, ws, wss };

    /// Returns nullopt if `text` is not such an address of one of the four schemes. Any thread.
    static std::optional<WebAddress> parse(std::string_view text);

    Scheme scheme() const { return scheme_; }
    bool isEncrypted() const { return scheme_ == Scheme::https || scheme_ == Scheme::wss; }

    /// Returns the host in lower case, an IPv6 address without its brackets.
    const std::string& host() const { return host_; }
    /// Returns the port; the port of the scheme if the address has none.
    std::uint16_t port() const { return port_; }

    /// Returns whether the host is this machine: 127.0.0.0/8, ::1 or "localhost". A name that only begins
    /// like one ("127.0.0.1.example.org") is not.
    bool isLoopback() const;
    /// Returns whether data sent to the address cannot be read on its way: it is encrypted or stays on this
    /// machine.
    bool isConfidential() const { return isEncrypted() || isLoopback(); }

    /// Returns scheme, host and port, such as "https://example.org" or "http://[::1]:8080", without the
    /// scheme's own port. Equal texts are the same origin (RFC 6454).
    std::string origin() const;
    /// Returns the origin, followed by path, query and fragment as they were given.
    std::string text() const { return origin() + rest_; }

private:
    WebAddress() = default;

    Scheme scheme_ = Scheme::http;
    std::string host_;
    bool isIpv6_ = false;
    std::uint16_t port_ = 0;
    std::string rest_; ///< path, query and fragment
};

/// Returns whether a host, in lower case and without brackets, is this machine, as `WebAddress::isLoopback`.
bool isLoopbackHost(std::string_view host);

/// Returns whether `text` is a URI or a relative reference (RFC 3986). Any thread.
bool isUriReference(std::string_view text);

} // namespace sonvale::base
