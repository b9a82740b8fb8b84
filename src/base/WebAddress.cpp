#include "base/WebAddress.h"

#include <boost/url/ipv4_address.hpp>
#include <boost/url/ipv6_address.hpp>
#include <boost/url/parse.hpp>

#include <algorithm>
#include <charconv>
#include <utility>

namespace sonvale::base {

namespace {

using Scheme = WebAddress::Scheme;

/// Limits of a host name and of one of its labels (RFC 1035, 2.3.4).
constexpr std::size_t maxHostLength = 253;
constexpr std::size_t maxLabelLength = 63;

struct SchemeRow {
    Scheme scheme;
    std::string_view name;
    std::uint16_t port;
};

constexpr SchemeRow schemes[] = {
    {Scheme::http, "http", 80},
    {Scheme::https, "https", 443},
    {Scheme::ws, "ws", 80},
    {Scheme::wss, "wss", 443},
};

const SchemeRow& rowOf(Scheme scheme) {
    return *std::ranges::find(schemes, scheme, &SchemeRow::scheme);
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isLetter(char c) {
    return c >= 'a' && c <= 'z';
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    std::ranges::transform(lower, lower.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return lower;
}

/// Removes and returns the part before the first of `ends`; all of it if there is none.
std::string_view takeUntil(std::string_view& text, std::string_view ends) {
    const auto length = std::min(text.find_first_of(ends), text.size());
    const auto taken = text.substr(0, length);
    text.remove_prefix(length);
    return taken;
}

bool isLabel(std::string_view label) {
    return !label.empty() && label.size() <= maxLabelLength && std::ranges::all_of(label, [](char c) {
        return isLetter(c) || isDigit(c) || c == '-' || c == '_';
    });
}

/// Returns whether inet_aton(3) may accept the label as a number: decimal, octal or, by its prefix,
/// hexadecimal.
bool isNumber(std::string_view label) {
    return std::ranges::all_of(label, isDigit) || label.starts_with("0x");
}

/// Returns whether `host`, in lower case, is a host name.
bool isName(std::string_view host) {
    if (host.ends_with('.'))
        host.remove_suffix(1); // the root label
    if (host.empty() || host.size() > maxHostLength)
        return false;
    for (;;) {
        const auto label = takeUntil(host, ".");
        if (!isLabel(label))
            return false;
        if (host.empty())
            return !isNumber(label);
        host.remove_prefix(1);
    }
}

std::optional<std::uint16_t> parsePort(std::string_view digits) {
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    const bool isWhole = error == std::errc() && end == digits.data() + digits.size();
    return isWhole && port != 0 ? std::optional(port) : std::nullopt;
}

} // namespace

std::optional<WebAddress> WebAddress::parse(std::string_view text) {
    const auto scheme = lowerCase(text.substr(0, text.find(':')));
    const auto* const row = std::ranges::find(schemes, std::string_view(scheme), &SchemeRow::name);
    if (row == std::end(schemes))
        return std::nullopt;
    text.remove_prefix(scheme.size());
    if (!text.starts_with("://"))
        return std::nullopt;
    text.remove_prefix(std::string_view("://").size());

    WebAddress address;
    address.scheme_ = row->scheme;
    address.port_ = row->port;

    // Boost.URL 1.81 ends an authority after what it accepts as an IPv4 address or a port, and parses the
    // rest as a path: "127.0.0.1.example.org", "example.org:port". So the authority is cut out first.
    auto authority = takeUntil(text, "/?#");
    if (authority.starts_with('[')) {
        authority.remove_prefix(1);
        const auto host = boost::urls::parse_ipv6_address(takeUntil(authority, "]"));
        if (!authority.starts_with(']') || !host)
            return std::nullopt;
        authority.remove_prefix(1);
        address.host_ = host->to_string();
        address.isIpv6_ = true;
    } else {
        address.host_ = lowerCase(takeUntil(authority, ":"));
        if (!isName(address.host_) && !boost::urls::parse_ipv4_address(address.host_))
            return std::nullopt;
    }
    if (!authority.empty()) {
        const auto port = authority.starts_with(':') ? parsePort(authority.substr(1)) : std::nullopt;
        if (!port)
            return std::nullopt;
        address.port_ = *port;
    }

    address.rest_ = text;
    return boost::urls::parse_uri("http://host" + address.rest_) ? std::optional(std::move(address))
                                                                 : std::nullopt;
}

bool WebAddress::isLoopback() const {
    return isLoopbackHost(host_);
}

std::string WebAddress::origin() const {
    const auto& row = rowOf(scheme_);
    auto origin = std::string(row.name) + "://" + (isIpv6_ ? '[' + host_ + ']' : host_);
    return port_ == row.port ? origin : origin + ':' + std::to_string(port_);
}

bool isLoopbackHost(std::string_view host) {
    if (const auto address = boost::urls::parse_ipv4_address(host))
        return address->is_loopback();
    if (const auto address = boost::urls::parse_ipv6_address(host))
        return address->is_loopback();
    return host == "localhost";
}

bool isUriReference(std::string_view text) {
    const auto reference = boost::urls::parse_uri_reference(text);
    if (!reference)
        return false;
    // Boost.URL 1.81 has parsed a piece of the authority as the path.
    const bool isMisread = reference->has_authority() && !reference->encoded_path().empty() &&
                           !reference->encoded_path().starts_with('/');
    return !isMisread || WebAddress::parse(text);
}

} // namespace sonvale::base
