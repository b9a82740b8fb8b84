#include "base/DateText.h"

#include <gtest/gtest.h>

namespace sonvale::base {

namespace {

const Date moment = parseIso8601("2026-11-16T20:41:08Z").value();

/// Replaces the narrow and unbreakable blanks that ICU puts into some formats.
std::string withPlainBlanks(std::string text) {
    for (const std::string blank : {"\u202f", "\u00a0"}) {
        for (auto at = text.find(blank); at != std::string::npos; at = text.find(blank))
            text.replace(at, blank.size(), " ");
    }
    return text;
}

} // namespace

TEST(DateText, FormatsByTheLocale) {
    struct Row {
        const char* locale;
        const char* date;
        const char* time;
    };
    for (const auto& [locale, date, time] :
         {Row{"en-US", "Nov 16, 2026", "9:41 PM"}, Row{"en-GB", "16 Nov 2026", "21:41"},
          Row{"de-DE", "16.11.2026", "21:41"}, Row{"ja-JP", "2026/11/16", "21:41"},
          Row{"fr-FR", "16 nov. 2026", "21:41"}}) {
        const DateText text(locale, "Europe/Berlin");
        EXPECT_EQ(withPlainBlanks(text.mediumDate(moment)), date) << locale;
        EXPECT_EQ(withPlainBlanks(text.shortTime(moment)), time) << locale;
    }
}

TEST(DateText, UsesTheCalendarOfTheLocale) {
    const DateText text("th-TH", "Asia/Bangkok");
    EXPECT_NE(text.mediumDate(moment).find("2569"), std::string::npos) << text.mediumDate(moment);
}

TEST(DateText, UsesTheTimeZone) {
    EXPECT_EQ(DateText("en-GB", "Asia/Tokyo").mediumDate(moment), "17 Nov 2026");
    EXPECT_EQ(DateText("en-GB", "Asia/Tokyo").shortTime(moment), "05:41");
}

TEST(DateText, FormatsForAnInvalidLocale) {
    EXPECT_EQ(DateText("not a locale", "UTC").mediumDate(moment), "Nov 16, 2026");
}

} // namespace sonvale::base
