#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::adapters::freedesktop {

/// The macOS bundle identifier of a program that exists on both systems, or of the one that macOS brings for
/// what a program of the Linux desktops is there for (mail, terminal, development, web, notes). By one of its
/// names here: a part of WM_CLASS or the name of its desktop file, with or without ".desktop", in any case.
/// Absent for every other program.
std::optional<std::string> knownBundleIdentifier(std::string_view name);

/// What stands for a window's program: the macOS identifier where either part of its WM_CLASS is known, else
/// the class unchanged, else the instance; absent when both are empty.
std::optional<std::string> bundleIdentifier(std::string_view instance, std::string_view className);

} // namespace sonvale::adapters::freedesktop
