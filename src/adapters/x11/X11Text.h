#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sonvale::adapters::x11 {

/// The text in the form of the target STRING (ICCCM 2.6.2: Latin-1, of the control characters only tab and
/// new line); absent when it has other characters. `text` is valid UTF-8.
std::optional<std::string> latin1FromUtf8(std::string_view text);

std::string utf8FromLatin1(std::string_view text);

std::string_view asText(std::span<const std::byte> bytes);

} // namespace sonvale::adapters::x11
