#include "adapters/freedesktop/DesktopEntry.h"

#include "base/Text.h"

#include <algorithm>
#include <utility>

namespace sonvale::adapters::freedesktop {

namespace {

constexpr std::string_view group = "[Desktop Entry]";
constexpr std::string_view blanks = " \t\r";

std::string_view withoutBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Returns the character that a backslash and `letter` mean. An unknown letter keeps its backslash.
std::string unescaped(char letter) {
    switch (letter) {
    case 's':
        return " ";
    case 'n':
        return "\n";
    case 't':
        return "\t";
    case 'r':
        return "\r";
    case '\\':
        return "\\";
    default:
        return {'\\', letter};
    }
}

} // namespace

DesktopEntry DesktopEntry::parse(std::string_view text) {
    DesktopEntry entry;
    bool isInGroup = false;
    while (!text.empty()) {
        const auto end = text.find('\n');
        const auto line = withoutBlanks(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);

        if (line.starts_with('[')) {
            isInGroup = line == group;
            entry.isPresent_ = entry.isPresent_ || isInGroup;
            continue;
        }
        const auto sign = line.find('=');
        if (!isInGroup || line.starts_with('#') || sign == std::string_view::npos)
            continue;
        entry.values_[std::string(withoutBlanks(line.substr(0, sign)))] =
            withoutBlanks(line.substr(sign + 1));
    }
    return entry;
}

std::optional<std::string> DesktopEntry::raw(const std::string& key) const {
    const auto entry = values_.find(key);
    return entry == values_.end() ? std::nullopt : std::optional(entry->second);
}

std::optional<std::string> DesktopEntry::string(const std::string& key) const {
    const auto value = raw(key);
    if (!value)
        return std::nullopt;
    std::string text;
    for (std::size_t i = 0; i < value->size(); ++i) {
        if ((*value)[i] == '\\' && i + 1 < value->size())
            text += unescaped((*value)[++i]);
        else
            text += (*value)[i];
    }
    return text;
}

std::vector<std::string> DesktopEntry::strings(const std::string& key) const {
    const auto value = raw(key).value_or("");
    std::vector<std::string> pieces;
    std::string piece;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] == '\\' && i + 1 < value.size()) {
            ++i;
            piece += value[i] == ';' ? ";" : unescaped(value[i]);
        } else if (value[i] == ';') {
            pieces.push_back(std::exchange(piece, {}));
        } else {
            piece += value[i];
        }
    }
    if (!piece.empty())
        pieces.push_back(std::move(piece));
    return pieces;
}

std::optional<bool> DesktopEntry::boolean(const std::string& key) const {
    const auto value = raw(key);
    if (value == "true" || value == "1")
        return true;
    if (value == "false" || value == "0")
        return false;
    return std::nullopt;
}

bool isFitForDesktopEntry(const std::filesystem::path& program) {
    constexpr auto isControl = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    const auto& text = program.native();
    return base::isValidUtf8(text) && text.find('=') == std::string::npos &&
           std::ranges::none_of(text, isControl);
}

std::string desktopEntryString(std::string_view text) {
    std::string value;
    for (const char c : text) {
        if (c == '\\')
            value += '\\';
        value += c;
    }
    // A blank at the start would be taken for the blank after the equals sign.
    if (value.starts_with(' '))
        value.replace(0, 1, "\\s");
    return value;
}

std::string desktopEntryExec(const std::filesystem::path& program) {
    // GIO looks for a file with the name of the first word before it replaces "%%" with "%"; env gets the
    // name after that.
    const bool hasPercent = program.native().find('%') != std::string::npos;
    std::string quoted = hasPercent ? "env \"" : "\"";
    for (const char c : program.native()) {
        if (c == '"' || c == '`' || c == '$' || c == '\\')
            quoted += '\\';
        if (c == '%')
            quoted += '%';
        quoted += c;
    }
    // A desktop undoes first the escapes of the value, then the quotes.
    return desktopEntryString(quoted + '"');
}

} // namespace sonvale::adapters::freedesktop
