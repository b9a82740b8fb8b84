#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

using Date = std::chrono::system_clock::time_point;

/// Formats a date as ISO 8601 in UTC with whole seconds, rounded down: "2026-11-16T00:59:08Z". Any thread.
std::string iso8601(Date date);

/// Parses ISO 8601 with date, time and zone: "2026-11-16T01:59:08+01:00". Fractions of a second are optional;
/// the zone is "Z", "+01:00", "+0100" or "+01". Returns nullopt for any other text, for a day or time that
/// does not exist, and for a time that `Date` cannot hold. Any thread.
std::optional<Date> parseIso8601(std::string_view text);

/// Returns the time `days` calendar days before `date`, at the same time of day in `timeZone` (IANA name;
/// empty means the system's zone), across changes of daylight saving. Returns nullopt if the zone is unknown
/// or the result does not fit into `Date`. Any thread.
std::optional<Date> daysBefore(Date date, std::int64_t days, const std::string& timeZone = {});

/// A day of the calendar.
struct CalendarDay {
    std::int64_t number = 0; ///< increases by 1 from one day to the next
    Date begin{};
    Date end{}; ///< the beginning of the next day, exclusive

    bool holds(Date date) const { return begin <= date && date < end; }
};

/// Returns the calendar day that contains `date` in `timeZone`. Daylight saving may make it longer or shorter
/// than 24 hours. Returns nullopt if the zone is unknown or `Date` cannot hold the day. Any thread.
std::optional<CalendarDay> dayOf(Date date, const std::string& timeZone = {});

} // namespace sonvale::base
