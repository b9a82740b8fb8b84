#pragma once

/// The macOS virtual key codes that the program refers to by name.
namespace sonvale::platform::key_code {

inline constexpr int escape = 53;

} // namespace sonvale::platform::key_code
