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

    /// Returns a new random identifier (version 4).
    static Uuid make();

    /// Parses the standard form of 36 characters in either case. Returns nullopt for any other text.
    static std::optional<Uuid> parse(std::string_view text);

    /// Returns the standard form in upper case, such as "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
    std::string toString() const;

    auto operator<=>(const Uuid&) const = default;

private:
    std::array<std::uint8_t, 16> bytes_{};
};

} // namespace sonvale::base
