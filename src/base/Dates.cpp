#include "base/Dates.h"

#include <fmt/format.h>
#include <unicode/gregocal.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <cmath>
#include <limits>
#include <memory>

namespace sonvale::base {

namespace {

using std::chrono::nanoseconds;
using std::chrono::seconds;

/// Reads a text from its start and removes what it has read. After the first mismatch every call fails.
class Scanner {
public:
    explicit Scanner(std::string_view text)
        : rest_(text) {}

    bool failed() const { return failed_; }
    bool atEnd() const { return rest_.empty(); }
    bool nextIsDigit() const { return !rest_.empty() && rest_[0] >= '0' && rest_[0] <= '9'; }

    bool accept(char wanted) {
        if (rest_.empty() || rest_[0] != wanted)
            return false;
        rest_.remove_prefix(1);
        return true;
    }

    void expect(char wanted) { failed_ |= !accept(wanted); }

    int number(int digits) {
        int value = 0;
        for (int i = 0; i < digits; ++i) {
            if (!nextIsDigit()) {
                failed_ = true;
                return 0;
            }
            value = value * 10 + (rest_[0] - '0');
            rest_.remove_prefix(1);
        }
        return value;
    }

    /// Reads the digits after the decimal point as nanoseconds. Ignores digits below a nanosecond.
    nanoseconds fraction() {
        failed_ |= !nextIsDigit();
        std::int64_t value = 0;
        std::int64_t unit = 100'000'000;
        while (nextIsDigit()) {
            value += (rest_[0] - '0') * unit;
            unit /= 10;
            rest_.remove_prefix(1);
        }
        return nanoseconds(value);
    }

    /// Reads the offset of the zone from UTC.
    seconds zone() {
        if (accept('Z'))
            return seconds(0);
        const int sign = accept('-') ? -1 : 1;
        if (sign > 0)
            expect('+');
        const int hours = number(2);
        int minutes = 0;
        if (accept(':') || nextIsDigit())
            minutes = number(2);
        failed_ |= hours > 23 || minutes > 59;
        return seconds(sign * (hours * 3600 + minutes * 60));
    }

private:
    std::string_view rest_;
    bool failed_ = false;
};

/// Returns the calendar of a zone, set to the whole millisecond before `date`; null if the zone is unknown.
std::unique_ptr<icu::GregorianCalendar> calendarAt(std::chrono::sys_time<std::chrono::milliseconds> date,
                                                   const std::string& timeZone, UErrorCode& status) {
    std::unique_ptr<icu::TimeZone> zone(
        timeZone.empty() ? icu::TimeZone::createDefault()
                         : icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(timeZone)));
    if (!zone || *zone == icu::TimeZone::getUnknown())
        return nullptr;
    auto calendar = std::make_unique<icu::GregorianCalendar>(zone.release(), status);
    calendar->setTime(static_cast<UDate>(date.time_since_epoch().count()), status);
    return calendar;
}

bool isHeldByDate(seconds sinceEpoch) {
    constexpr auto limit = std::chrono::duration_cast<seconds>(Date::duration::max()) - seconds(1);
    return sinceEpoch < limit && sinceEpoch > -limit;
}

std::optional<Date> dateFrom(UDate milliseconds) {
    if (!isHeldByDate(seconds(static_cast<std::int64_t>(milliseconds / 1000))))
        return std::nullopt;
    return Date(std::chrono::duration_cast<Date::duration>(
        std::chrono::milliseconds(static_cast<std::int64_t>(milliseconds))));
}

} // namespace

std::string iso8601(Date date) {
    const auto whole = std::chrono::floor<seconds>(date);
    const auto day = std::chrono::floor<std::chrono::days>(whole);
    const std::chrono::year_month_day calendar(day);
    const std::chrono::hh_mm_ss time(whole - day);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(calendar.year()),
                       static_cast<unsigned>(calendar.month()), static_cast<unsigned>(calendar.day()),
                       time.hours().count(), time.minutes().count(), time.seconds().count());
}

std::optional<Date> parseIso8601(std::string_view text) {
    Scanner scanner(text);
    const int year = scanner.number(4);
    scanner.expect('-');
    const int month = scanner.number(2);
    scanner.expect('-');
    const int day = scanner.number(2);
    scanner.expect('T');
    const int hour = scanner.number(2);
    scanner.expect(':');
    const int minute = scanner.number(2);
    scanner.expect(':');
    const int second = scanner.number(2);
    const auto fraction = scanner.accept('.') ? scanner.fraction() : nanoseconds(0);
    const auto ahead = scanner.zone();
    if (scanner.failed() || !scanner.atEnd())
        return std::nullopt;

    const std::chrono::year_month_day calendar{std::chrono::year(year), std::chrono::month(unsigned(month)),
                                               std::chrono::day(unsigned(day))};
    if (!calendar.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    const auto sinceEpoch = std::chrono::sys_days(calendar).time_since_epoch() + std::chrono::hours(hour) +
                            std::chrono::minutes(minute) + seconds(second) - ahead;
    if (!isHeldByDate(sinceEpoch))
        return std::nullopt;
    return Date(std::chrono::duration_cast<Date::duration>(sinceEpoch + fraction));
}

std::optional<Date> daysBefore(Date date, std::int64_t days, const std::string& timeZone) {
    if (days > std::numeric_limits<std::int32_t>::max() || days < -std::numeric_limits<std::int32_t>::max())
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    const auto whole = std::chrono::floor<std::chrono::milliseconds>(date);
    const auto calendar = calendarAt(whole, timeZone, status);
    if (!calendar)
        return std::nullopt;
    calendar->add(UCAL_DATE, -static_cast<std::int32_t>(days), status);
    const auto result = dateFrom(calendar->getTime(status));
    if (U_FAILURE(status) || !result)
        return std::nullopt;
    return *result + (date - whole);
}

std::optional<CalendarDay> dayOf(Date date, const std::string& timeZone) {
    UErrorCode status = U_ZERO_ERROR;
    const auto calendar = calendarAt(std::chrono::floor<std::chrono::milliseconds>(date), timeZone, status);
    if (!calendar)
        return std::nullopt;
    const auto number = calendar->get(UCAL_JULIAN_DAY, status);
    for (const auto field : {UCAL_HOUR_OF_DAY, UCAL_MINUTE, UCAL_SECOND, UCAL_MILLISECOND})
        calendar->set(field, 0);
    const auto begin = dateFrom(calendar->getTime(status));
    calendar->add(UCAL_DATE, 1, status);
    const auto end = dateFrom(calendar->getTime(status));
    if (U_FAILURE(status) || !begin || !end)
        return std::nullopt;
    return CalendarDay{.number = number, .begin = *begin, .end = *end};
}

} // namespace sonvale::base
