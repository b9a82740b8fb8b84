#include "base/DateText.h"

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

namespace sonvale::base {

struct DateText::Formats {
    std::unique_ptr<icu::DateFormat> date;
    std::unique_ptr<icu::DateFormat> time;
};

namespace {

std::string format(const icu::DateFormat& format, Date date) {
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(date);
    icu::UnicodeString text;
    format.format(static_cast<UDate>(milliseconds.time_since_epoch().count()), text);
    std::string utf8;
    return text.toUTF8String(utf8);
}

} // namespace

DateText::DateText(const std::string& locale, const std::string& timeZone)
    : formats_(std::make_unique<Formats>()) {
    UErrorCode status = U_ZERO_ERROR;
    auto wanted = icu::Locale::forLanguageTag(locale, status);
    if (U_FAILURE(status) || wanted.isBogus())
        wanted = icu::Locale::getUS();
    formats_->date.reset(icu::DateFormat::createDateInstance(icu::DateFormat::kMedium, wanted));
    formats_->time.reset(icu::DateFormat::createTimeInstance(icu::DateFormat::kShort, wanted));
    if (timeZone.empty())
        return;
    const std::unique_ptr<icu::TimeZone> zone(
        icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(timeZone)));
    formats_->date->setTimeZone(*zone);
    formats_->time->setTimeZone(*zone);
}

DateText::~DateText() = default;

std::string DateText::mediumDate(Date date) const {
    return format(*formats_->date, date);
}

std::string DateText::shortTime(Date date) const {
    return format(*formats_->time, date);
}

} // namespace sonvale::base
