#include "base/Dates.h"

#include <gtest/gtest.h>

#include <limits>

namespace sonvale::base {

namespace {

using namespace std::chrono_literals;

Date at(const char* text) {
    const auto date = parseIso8601(text);
    EXPECT_TRUE(date) << text;
    return date.value_or(Date{});
}

} // namespace

TEST(Dates, FormatsWholeSecondsInUtcRoundedDown) {
    EXPECT_EQ(iso8601(Date{}), "1970-01-01T00:00:00Z");
    EXPECT_EQ(iso8601(Date(1794790748s)), "2026-11-16T00:59:08Z");
    EXPECT_EQ(iso8601(Date(1794790748s + 999ms)), "2026-11-16T00:59:08Z");
    EXPECT_EQ(iso8601(Date(-1ms)), "1969-12-31T23:59:59Z");
    EXPECT_EQ(iso8601(Date::max()).substr(0, 4), "2262");
    EXPECT_EQ(iso8601(Date::min()).substr(0, 4), "1677");
}

TEST(Dates, ParsesEveryFormOfTheZone) {
    const Date moment(1794790748s);
    for (const char* text :
         {"2026-11-16T00:59:08Z", "2026-11-16T00:59:08+00:00", "2026-11-16T00:59:08-00:00",
          "2026-11-16T01:59:08+01:00", "2026-11-16T01:59:08+0100", "2026-11-16T01:59:08+01",
          "2026-11-15T19:29:08-05:30", "2026-11-16T14:59:08+14:00"})
        EXPECT_EQ(parseIso8601(text), moment) << text;
}

TEST(Dates, ParsesFractionsOfASecond) {
    EXPECT_EQ(parseIso8601("1970-01-01T00:00:01.5Z"), Date(1500ms));
    EXPECT_EQ(parseIso8601("1970-01-01T00:00:01.123456789Z"), Date(1123456789ns));
    EXPECT_EQ(parseIso8601("1970-01-01T00:00:01.1234567899Z"), Date(1123456789ns));
    EXPECT_EQ(parseIso8601("1970-01-01T01:00:00.25+01:00"), Date(250ms));
}

TEST(Dates, RefusesTextThatIsNotADate) {
    for (const char* text : {"",
                             "2026",
                             "2026-11-16",
                             "2026-11-16T00:59:08",
                             "2026-11-16 00:59:08Z",
                             "2026-11-16T00:59Z",
                             "2026-13-01T00:00:00Z",
                             "2026-00-01T00:00:00Z",
                             "2026-02-29T00:00:00Z",
                             "2026-04-31T00:00:00Z",
                             "2026-11-16T24:00:00Z",
                             "2026-11-16T23:60:00Z",
                             "2026-11-16T23:59:60Z",
                             "2026-11-16T00:59:08.Z",
                             "2026-11-16T00:59:08+",
                             "2026-11-16T00:59:08+1",
                             "2026-11-16T00:59:08+24:00",
                             "2026-11-16T00:59:08+00:60",
                             "2026-11-16T00:59:08Zx",
                             " 2026-11-16T00:59:08Z",
                             "+026-11-16T00:59:08Z",
                             "2026-1-16T00:59:08Z",
                             "0001-01-01T00:00:00Z",
                             "9999-12-31T23:59:59Z",
                             "2026-11-16T00:59:08\xC3"})
        EXPECT_FALSE(parseIso8601(text)) << text;
}

TEST(Dates, AcceptsLeapDaysInLeapYearsOnly) {
    EXPECT_EQ(iso8601(at("2028-02-29T12:00:00Z")), "2028-02-29T12:00:00Z");
}

TEST(Dates, CountsCalendarDaysAcrossDaylightSaving) {
    // The clocks of Berlin went forward on 29 March 2026: the same time of day is 23 hours earlier.
    EXPECT_EQ(daysBefore(at("2026-03-29T12:00:00+02:00"), 1, "Europe/Berlin"),
              at("2026-03-28T12:00:00+01:00"));
    EXPECT_EQ(daysBefore(at("2026-03-29T12:00:00Z"), 1, "UTC"), at("2026-03-28T12:00:00Z"));
    EXPECT_EQ(daysBefore(at("2026-11-16T00:59:08Z"), 365, "UTC"), at("2025-11-16T00:59:08Z"));
    // It is 19:59 of the previous day in New York, which was on summer time 30 days earlier.
    EXPECT_EQ(daysBefore(at("2026-11-16T00:59:08Z"), 30, "America/New_York"), at("2026-10-16T23:59:08Z"));
}

TEST(Dates, KeepsFractionsOfASecond) {
    EXPECT_EQ(daysBefore(Date(86400s + 1234567ns), 1, "UTC"), Date(1234567ns));
    EXPECT_EQ(daysBefore(Date(1234567ns), 0, "UTC"), Date(1234567ns));
}

TEST(Dates, UsesTheSystemsZoneForAnEmptyName) {
    const auto date = daysBefore(at("2026-11-16T00:59:08Z"), 1);
    ASSERT_TRUE(date);
    EXPECT_NEAR(std::chrono::duration<double>(at("2026-11-16T00:59:08Z") - *date).count(), 86400, 2 * 3600);
}

TEST(Dates, ReturnsTheBeginAndEndOfDaysOfAnyLength) {
    const auto at = [](const char* text) { return parseIso8601(text).value(); };
    struct Row {
        const char* moment;
        const char* begin;
        const char* end;
    };
    constexpr const char* zone = "Europe/Berlin";
    for (const auto& [moment, begin, end] :
         {Row{"2026-11-16T10:00:00+01:00", "2026-11-16T00:00:00+01:00", "2026-11-17T00:00:00+01:00"},
          Row{"2026-11-16T00:00:00+01:00", "2026-11-16T00:00:00+01:00", "2026-11-17T00:00:00+01:00"},
          Row{"2026-03-29T12:00:00+02:00", "2026-03-29T00:00:00+01:00", "2026-03-30T00:00:00+02:00"},
          Row{"2026-10-25T02:30:00+01:00", "2026-10-25T00:00:00+02:00", "2026-10-26T00:00:00+01:00"}}) {
        const auto day = dayOf(at(moment), zone);
        ASSERT_TRUE(day) << moment;
        EXPECT_EQ(iso8601(day->begin), iso8601(at(begin))) << moment;
        EXPECT_EQ(iso8601(day->end), iso8601(at(end))) << moment;
        EXPECT_TRUE(day->holds(at(moment)));
        EXPECT_FALSE(day->holds(day->end));
        EXPECT_EQ(dayOf(day->end, zone)->number, day->number + 1) << moment;
        EXPECT_EQ(dayOf(day->begin, zone)->number, day->number) << moment;
    }
    EXPECT_EQ(dayOf(at("2026-11-16T23:30:00Z"), zone)->number,
              dayOf(at("2026-11-17T10:00:00Z"), zone)->number);
    EXPECT_FALSE(dayOf(at("2026-11-16T23:30:00Z"), "Nowhere/Atall"));
    EXPECT_FALSE(dayOf(Date::max(), zone)) << "its end is no moment any more";
}

TEST(Dates, ReturnsNulloptIfTheResultIsNotADate) {
    const auto now = at("2026-11-16T00:59:08Z");
    EXPECT_FALSE(daysBefore(now, 1, "Mars/Olympus"));
    EXPECT_FALSE(daysBefore(now, 1'000'000, "UTC"));
    EXPECT_FALSE(daysBefore(now, -1'000'000, "UTC"));
    EXPECT_FALSE(daysBefore(now, std::numeric_limits<std::int64_t>::max(), "UTC"));
    EXPECT_FALSE(daysBefore(now, std::numeric_limits<std::int64_t>::min(), "UTC"));
}

} // namespace sonvale::base
