#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

/// Encodes any bytes as standard base64 (RFC 4648, section 4) with padding and without line breaks. Any
/// thread.
std::string encodeBase64(std::string_view bytes);

/// Decodes standard base64. Returns nullopt for a byte outside the alphabet, for missing or misplaced
/// padding, and for left-over bits that are not zero. Any thread.
std::optional<std::string> decodeBase64(std::string_view text);

/// Works as `decodeBase64` with the URL alphabet, "-" and "_" (RFC 4648, section 5). Padding is optional.
std::optional<std::string> decodeBase64Url(std::string_view text);

} // namespace sonvale::base
