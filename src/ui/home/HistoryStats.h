#pragma once

#include "base/Dates.h"

#include <cstdint>
#include <optional>
#include <set>
#include <string>

namespace sonvale::ui {

/// The three counters over the history, as the home tab shows them. Rows are added one by one, so that a long
/// history does not have to be in memory.
class HistoryStats {
public:
    /// Counts days in `timeZone` (an IANA name; empty for the system's own).
    explicit HistoryStats(std::string timeZone = {})
        : timeZone_(std::move(timeZone)) {}

    void add(base::Date timestamp, std::int64_t wordCount, double durationSeconds);

    std::string days() const;
    std::string words() const;          ///< "999", then "1.0K"
    std::string wordsPerMinute() const; ///< "0" if no row has a duration

private:
    std::string timeZone_;
    base::CalendarDay lastDay_{}; ///< rows are added by time, so the next row is mostly on the same day
    std::set<std::int64_t> days_;
    std::int64_t words_ = 0;
    double seconds_ = 0;
};

/// Returns "Today" or "Yesterday", or nullopt for all other days.
std::optional<std::string> daySection(const base::CalendarDay& day, const base::CalendarDay& today);
/// Returns the same for a point in time in `timeZone`.
std::optional<std::string> daySection(base::Date timestamp, base::Date now, const std::string& timeZone = {});

} // namespace sonvale::ui
