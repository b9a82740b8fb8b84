#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sonvale::base {

using Date = std::chrono::system_clock::time_point;

/// ISO 8601 in UTC with whole seconds, rounded down: "2026-11-16T00:59:08Z". Any thread.
std::string iso8601(Date date);

/// Reads ISO 8601 with date, time and zone: "2026-11-16T01:59:08+01:00", with optional fractions of a second,
/// the zone being "Z", "+01:00", "+0100" or "+01". Nothing for any other text, for a day or time that does
/// not exist and for a moment that `Date` cannot hold. Any thread.
std::optional<Date> parseIso8601(std::string_view text);

/// The moment `days` calendar days before `date`: the same time of day in `timeZone` (IANA name; empty means
/// the system's own zone), whatever daylight saving did in between. Nothing when the zone is unknown or when
/// no `Date` results. Any thread.
std::optional<Date> daysBefore(Date date, std::int64_t days, const std::string& timeZone = {});

/// A day of the calendar.
struct CalendarDay {
    std::int64_t number = 0; ///< the day after has the next one
    Date begin{};
    Date end{}; ///< the beginning of the next day

    bool holds(Date date) const { return begin <= date && date < end; }
};

/// The day of the calendar on which `date` falls in `timeZone`, from its first moment on, whatever daylight
/// saving does to its length. Nothing when the zone is unknown, or for a day that `Date` cannot hold. Any
/// thread.
std::optional<CalendarDay> dayOf(Date date, const std::string& timeZone = {});

} // namespace sonvale::base
