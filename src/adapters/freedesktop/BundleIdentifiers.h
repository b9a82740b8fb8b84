#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sonvale::adapters::freedesktop {

/// Returns the macOS bundle identifier of a program that exists on both systems, or of the macOS program with
/// the same purpose (mail, terminal, development, web, notes). The name is a part of WM_CLASS or the name of
/// a desktop file, with or without ".desktop", in any case. Returns nullopt for every other program.
std::optional<std::string> knownBundleIdentifier(std::string_view name);

/// Returns the identifier of a window's program: the macOS identifier if either part of its WM_CLASS is
/// known, else the class unchanged, else the instance. Returns nullopt if both are empty.
std::optional<std::string> bundleIdentifier(std::string_view instance, std::string_view className);

} // namespace sonvale::adapters::freedesktop
