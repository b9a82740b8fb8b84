#pragma once

/// macOS virtual key codes of the keys that tests press.
namespace sonvale::tests::mac_key {

inline constexpr int letterA = 0;
inline constexpr int letterZ = 6;
inline constexpr int letterX = 7;
inline constexpr int letterC = 8;
inline constexpr int letterV = 9;
inline constexpr int space = 49;
inline constexpr int escape = 53;
inline constexpr int leftCommand = 55;
inline constexpr int leftShift = 56;
inline constexpr int capsLock = 57;
inline constexpr int leftOption = 58;
inline constexpr int leftControl = 59;
inline constexpr int rightOption = 61;

} // namespace sonvale::tests::mac_key
