#pragma once

#include "base/Dates.h"

#include <memory>
#include <string>

namespace sonvale::base {

/// Formats dates and times for the user in the calendar of a locale (Unicode CLDR). Construction takes some
/// milliseconds, formatting takes microseconds. One thread at a time.
class DateText {
public:
    /// `locale` is an identifier such as "en-US". `timeZone` is an IANA name; empty means the system's zone.
    explicit DateText(const std::string& locale, const std::string& timeZone = {});
    ~DateText();
    DateText(const DateText&) = delete;
    DateText& operator=(const DateText&) = delete;

    /// Returns a date of medium length, such as "Nov 16, 2026".
    std::string mediumDate(Date date) const;
    /// Returns hours and minutes, such as "9:41 AM".
    std::string shortTime(Date date) const;

private:
    struct Formats;
    std::unique_ptr<Formats> formats_;
};

} // namespace sonvale::base
