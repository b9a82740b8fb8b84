#include "adapters/qt/network/LineSplitter.h"

#include <utility>

namespace sonvale::adapters::qt {

void LineSplitter::take(std::string_view bytes) {
    while (!bytes.empty() && !isTooLong_) {
        if (std::exchange(endedByReturn_, false) && bytes.front() == '\n') {
            bytes.remove_prefix(1);
            continue;
        }
        const auto end = bytes.find_first_of("\r\n");
        append(bytes.substr(0, end));
        if (end == std::string_view::npos || isTooLong_)
            return;
        endedByReturn_ = bytes[end] == '\r';
        endLine();
        bytes.remove_prefix(end + 1);
    }
}

void LineSplitter::finish() {
    if (!open_.empty())
        endLine();
}

std::optional<std::string> LineSplitter::next() {
    if (lines_.empty())
        return std::nullopt;
    auto line = std::move(lines_.front());
    lines_.pop_front();
    return line;
}

void LineSplitter::append(std::string_view piece) {
    if (open_.size() + piece.size() > maxLineBytes_) {
        isTooLong_ = true;
        open_.clear();
        return;
    }
    open_ += piece;
}

void LineSplitter::endLine() {
    lines_.push_back(std::exchange(open_, {}));
}

} // namespace sonvale::adapters::qt
