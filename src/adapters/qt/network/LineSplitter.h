#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::adapters::qt {

/// Splits bytes that arrive in pieces into lines, which end with a line feed, a carriage return, or both in
/// this order.
class LineSplitter {
public:
    explicit LineSplitter(std::size_t maxLineBytes)
        : maxLineBytes_(maxLineBytes) {}

    void take(std::string_view bytes);
    /// Ends the input. The rest without an end is the last line.
    void finish();

    bool hasLine() const { return !lines_.empty(); }
    /// Returns the next whole line, or nullopt if there is none.
    std::optional<std::string> next();

    /// Returns whether a line was too long. The lines before it can still be taken; there is none after it.
    bool isTooLong() const { return isTooLong_; }

private:
    void append(std::string_view piece);
    void endLine();

    const std::size_t maxLineBytes_;
    std::deque<std::string> lines_;
    std::string open_;
    bool endedByReturn_ = false; ///< a following line feed belongs to that end
    bool isTooLong_ = false;
};

} // namespace sonvale::adapters::qt
