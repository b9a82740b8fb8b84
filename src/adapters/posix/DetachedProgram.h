#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sonvale::adapters::posix {

/// Finds the file of a program in the folders of `path`, which has the form of PATH. Ignores folders that are
/// not absolute: the content of the working folder is not the user's choice.
std::optional<std::string> findProgram(std::string_view name, std::string_view path);

/// Starts a program that outlives this one: in its own session, not as a child of this process, with this
/// process's environment, without its descriptors, terminal and signal settings. Returns false if the system
/// cannot start it. Takes some milliseconds, up to 1 s. Any thread.
bool startDetached(const std::string& file, const std::vector<std::string>& arguments);

} // namespace sonvale::adapters::posix
