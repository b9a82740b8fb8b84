#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sonvale::adapters::posix {

/// The file of a program by the folders of `path`, which has the form of PATH. Folders that are not absolute
/// are passed over: what the working folder holds is nobody's choice.
std::optional<std::string> findProgram(std::string_view name, std::string_view path);

/// Starts a program that lives on by itself: in a session of its own, no child of this process, with this
/// process's environment, without its descriptors, terminal and signal settings. False when the system
/// cannot start it. Takes some milliseconds, 1 s at most. Any thread.
bool startDetached(const std::string& file, const std::vector<std::string>& arguments);

} // namespace sonvale::adapters::posix
