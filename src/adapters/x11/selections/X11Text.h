#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sonvale::adapters::x11 {

/// Returns the text in the form of the target STRING (ICCCM 2.6.2: Latin-1, whose only control characters are
/// tab and new line), or nullopt if it has other characters. `text` is valid UTF-8.
std::optional<std::string> latin1FromUtf8(std::string_view text);

std::string utf8FromLatin1(std::string_view text);

std::string_view asText(std::span<const std::byte> bytes);

} // namespace sonvale::adapters::x11
