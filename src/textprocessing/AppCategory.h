#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace sonvale::textprocessing {

/// What an application is used for, as far as the style of a text depends on it.
enum class AppCategory { personalMessaging, workMessaging, email, code, browser, notes, other };

inline constexpr std::array allAppCategories{
    AppCategory::personalMessaging, AppCategory::workMessaging, AppCategory::email, AppCategory::code,
    AppCategory::browser,           AppCategory::notes,         AppCategory::other};

/// The name under which the category is stored.
std::string_view rawValue(AppCategory category);

/// The category with that stored name; absent for any other text.
std::optional<AppCategory> appCategoryFromRawValue(std::string_view rawValue);

/// The category in words, as a language model is told.
std::string_view displayPhrase(AppCategory category);

/// The category of the application with exactly that identifier; `other` for an unknown or absent one.
AppCategory forBundleID(std::optional<std::string_view> bundleID);

} // namespace sonvale::textprocessing
