#pragma once

#include <array>
#include <cstdint>

namespace sonvale::base {

namespace detail {

// A table avoids branches, which a processor cannot predict for random digits.
inline constexpr auto hexDigitValues = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (int value = 0; value < 16; ++value) {
        values[static_cast<unsigned char>("0123456789ABCDEF"[value])] = static_cast<std::int8_t>(value);
        values[static_cast<unsigned char>("0123456789abcdef"[value])] = static_cast<std::int8_t>(value);
    }
    return values;
}();

} // namespace detail

/// Returns 0 to 15 for a hexadecimal digit of either case, -1 for any other byte.
constexpr int hexDigitValue(char digit) {
    return detail::hexDigitValues[static_cast<unsigned char>(digit)];
}

} // namespace sonvale::base
