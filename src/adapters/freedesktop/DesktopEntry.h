#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// The main group of a desktop entry, as freedesktop.org defines it (version 1.5). A plain value.
class DesktopEntry {
public:
    /// Reads the text of a file: only the group "Desktop Entry". If a key occurs twice, the last one counts.
    /// Ignores lines of another form.
    static DesktopEntry parse(std::string_view text);

    /// Returns whether the file has the group.
    bool isPresent() const { return isPresent_; }
    /// Returns a value unchanged, with its escapes, or nullopt if the key is absent.
    std::optional<std::string> raw(const std::string& key) const;
    /// Returns a value of type string without its escapes.
    std::optional<std::string> string(const std::string& key) const;
    /// Returns a value of type strings: the parts between its semicolons, without escapes. Empty if the key
    /// is absent.
    std::vector<std::string> strings(const std::string& key) const;
    /// Returns a value of type boolean; "1" and "0" of older tools count too. Returns nullopt if it is
    /// neither.
    std::optional<bool> boolean(const std::string& key) const;

private:
    bool isPresent_ = false;
    std::map<std::string, std::string, std::less<>> values_;
};

/// Returns whether an entry can contain a program's path: UTF-8 without control characters, and without "=",
/// which the key Exec does not allow there.
bool isFitForDesktopEntry(const std::filesystem::path& program);

/// Returns the text as a value of type string.
std::string desktopEntryString(std::string_view text);

/// Returns a program's path as the value of the key Exec: one argument in quotes, without field codes.
std::string desktopEntryExec(const std::filesystem::path& program);

} // namespace sonvale::adapters::freedesktop
