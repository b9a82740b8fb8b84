#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sonvale::adapters::freedesktop {

/// The main group of a desktop entry, as freedesktop.org defines them (version 1.5). A plain value.
class DesktopEntry {
public:
    /// Reads the text of a file: the group "Desktop Entry" alone, and of a key that stands twice the last.
    /// Lines of another form are passed over.
    static DesktopEntry parse(std::string_view text);

    /// Whether the group is there.
    bool isPresent() const { return isPresent_; }
    /// A value as it stands, escapes included; nothing when the key is absent.
    std::optional<std::string> raw(const std::string& key) const;
    /// A value of type string, its escapes undone.
    std::optional<std::string> string(const std::string& key) const;
    /// A value of type strings: its pieces between semicolons, escapes undone; empty when absent.
    std::vector<std::string> strings(const std::string& key) const;
    /// A value of type boolean, "1" and "0" of older tools among them; nothing when it is neither.
    std::optional<bool> boolean(const std::string& key) const;

private:
    bool isPresent_ = false;
    std::map<std::string, std::string, std::less<>> values_;
};

/// Whether a program's path can stand in an entry: UTF-8 without control characters, and without "=", which
/// the key Exec does not allow there.
bool isFitForDesktopEntry(const std::filesystem::path& program);

/// The text as a value of type string.
std::string desktopEntryString(std::string_view text);

/// A program's path as the value of the key Exec: one argument in quotes, where nothing is a field code.
std::string desktopEntryExec(const std::filesystem::path& program);

} // namespace sonvale::adapters::freedesktop
