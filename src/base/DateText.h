#pragma once

#include "base/Dates.h"

#include <memory>
#include <string>

namespace sonvale::base {

/// Dates and times as the user writes them, with the locale's own calendar (Unicode CLDR). Making one costs
/// some milliseconds, using it microseconds. One thread at a time.
class DateText {
public:
    /// `locale` is an identifier such as "en-US"; `timeZone` an IANA name, empty for the system's own zone.
    explicit DateText(const std::string& locale, const std::string& timeZone = {});
    ~DateText();
    DateText(const DateText&) = delete;
    DateText& operator=(const DateText&) = delete;

    /// Of medium length, such as "Nov 16, 2026".
    std::string mediumDate(Date date) const;
    /// Hours and minutes, such as "9:41 AM".
    std::string shortTime(Date date) const;

private:
    struct Formats;
    std::unique_ptr<Formats> formats_;
};

} // namespace sonvale::base
