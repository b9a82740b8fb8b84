#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

/// Standard base64 (RFC 4648, section 4) with padding and without line breaks. `bytes` may be anything. Any
/// thread.
std::string encodeBase64(std::string_view bytes);

/// The bytes of a standard base64 text. Nothing for a byte outside the alphabet, for missing or misplaced
/// padding and for left-over bits that are not zero. Any thread.
std::optional<std::string> decodeBase64(std::string_view text);

/// As `decodeBase64` for the alphabet with "-" and "_" (RFC 4648, section 5), where padding may be left out.
std::optional<std::string> decodeBase64Url(std::string_view text);

} // namespace sonvale::base
