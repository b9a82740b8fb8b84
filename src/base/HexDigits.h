#pragma once

namespace sonvale::base {

/// 0 to 15 for a hexadecimal digit of either case, -1 for any other byte.
constexpr int hexDigitValue(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'A' && digit <= 'F')
        return digit - 'A' + 10;
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return -1;
}

} // namespace sonvale::base
