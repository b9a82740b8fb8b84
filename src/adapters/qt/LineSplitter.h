#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::adapters::qt {

/// Lines out of bytes that come in pieces, ended by a line feed, a carriage return, or both in this order.
class LineSplitter {
public:
    explicit LineSplitter(std::size_t longest)
        : longest_(longest) {}

    void take(std::string_view bytes);
    /// No more bytes come: what is left without an end is the last line.
    void finish();

    bool hasLine() const { return !lines_.empty(); }
    /// The next whole line; nothing when there is none.
    std::optional<std::string> next();

    /// Whether a line was longer than allowed. The lines before it can still be taken; nothing comes behind.
    bool isTooLong() const { return isTooLong_; }

private:
    void append(std::string_view piece);
    void endLine();

    const std::size_t longest_;
    std::deque<std::string> lines_;
    std::string open_;
    bool endedByReturn_ = false; ///< a line feed that comes next belongs to that end
    bool isTooLong_ = false;
};

} // namespace sonvale::adapters::qt
