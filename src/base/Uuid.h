#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

/// A 128-bit identifier in the form of RFC 4122. The default value is the nil identifier. Any thread.
class Uuid {
public:
    constexpr Uuid() = default;

    /// A new random identifier (version 4).
    static Uuid make();

    /// Reads the standard form of 36 characters, in either case. Anything else gives nothing.
    static std::optional<Uuid> parse(std::string_view text);

    /// The standard form in upper case, like "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
    std::string toString() const;

    auto operator<=>(const Uuid&) const = default;

private:
    std::array<std::uint8_t, 16> bytes_{};
};

} // namespace sonvale::base
