#include "ui/home/HistoryStats.h"

#include <fmt/format.h>

#include <QtGlobal>
#include <cmath>

namespace sonvale::ui {

namespace {

/// Returns the number with one decimal place. Rounds halves up, also an exact half.
std::string thousands(std::int64_t words) {
    const bool isHalf = words % 500 == 250;
    return fmt::format("{:.1f}K", static_cast<double>(isHalf ? words + 1 : words) / 1000);
}

} // namespace

void HistoryStats::add(base::Date timestamp, std::int64_t wordCount, double durationSeconds) {
    if (!lastDay_.holds(timestamp)) {
        if (const auto day = base::dayOf(timestamp, timeZone_)) {
            lastDay_ = *day;
            days_.insert(day->number);
        }
    }
    if (__builtin_add_overflow(words_, wordCount, &words_))
        words_ = wordCount > 0 ? INT64_MAX : INT64_MIN;
    seconds_ += durationSeconds;
}

std::string HistoryStats::days() const {
    return std::to_string(days_.size());
}

std::string HistoryStats::words() const {
    return words_ >= 1000 ? thousands(words_) : std::to_string(words_);
}

std::string HistoryStats::wordsPerMinute() const {
    if (!(seconds_ > 0) || words_ < 1)
        return "0";
    return fmt::format("{:.0f}", std::round(static_cast<double>(words_) / (seconds_ / 60)));
}

std::optional<std::string> daySection(const base::CalendarDay& day, const base::CalendarDay& today) {
    if (day.number == today.number)
        return QT_TRANSLATE_NOOP("Texts", "Today");
    if (day.number == today.number - 1)
        return QT_TRANSLATE_NOOP("Texts", "Yesterday");
    return std::nullopt;
}

std::optional<std::string> daySection(base::Date timestamp, base::Date now, const std::string& timeZone) {
    const auto day = base::dayOf(timestamp, timeZone);
    const auto today = base::dayOf(now, timeZone);
    if (!day || !today)
        return std::nullopt;
    return daySection(*day, *today);
}

} // namespace sonvale::ui
