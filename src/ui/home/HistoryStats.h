#pragma once

#include "base/Dates.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace sonvale::ui {

/// The three counters over the history, as they are shown. Rows are added one by one, so that a long history
/// need not be in memory.
class HistoryStats {
public:
    /// Days are those of `timeZone` (IANA name; empty means the system's own).
    explicit HistoryStats(std::string timeZone = {})
        : timeZone_(std::move(timeZone)) {}

    void add(base::Date timestamp, std::int64_t wordCount, double durationSeconds);

    std::string days() const;
    std::string words() const;          ///< "999", then "1.0K"
    std::string wordsPerMinute() const; ///< "0" where nothing was measured

private:
    std::string timeZone_;
    base::CalendarDay lastDay_{}; ///< rows come in the order of time, so the next is of the same day mostly
    std::set<std::int64_t> days_;
    std::int64_t words_ = 0;
    double seconds_ = 0;
};

/// "Today" or "Yesterday"; absent for a day that is called by its date.
std::optional<std::string> daySection(const base::CalendarDay& day, const base::CalendarDay& today);
/// The same by the calendar of `timeZone`.
std::optional<std::string> daySection(base::Date timestamp, base::Date now, const std::string& timeZone = {});

} // namespace sonvale::ui
