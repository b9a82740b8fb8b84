#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace sonvale::textprocessing {

/// The purpose of an application, for the style of a text.
enum class AppCategory { personalMessaging, workMessaging, email, code, browser, notes, other };

inline constexpr std::array allAppCategories{
    AppCategory::personalMessaging, AppCategory::workMessaging, AppCategory::email, AppCategory::code,
    AppCategory::browser,           AppCategory::notes,         AppCategory::other};

/// Returns the stored name of the category.
std::string_view rawValue(AppCategory category);

/// Returns the category with that stored name; nullopt for any other text.
std::optional<AppCategory> appCategoryFromRawValue(std::string_view rawValue);

/// Returns the category in words for a language model.
std::string_view displayPhrase(AppCategory category);

/// Returns the category of the application with exactly that identifier; `other` for an unknown or absent
/// one.
AppCategory forBundleID(std::optional<std::string_view> bundleID);

} // namespace sonvale::textprocessing
