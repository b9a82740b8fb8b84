#include "textprocessing/AppCategory.h"

#include <algorithm>
#include <cstddef>

namespace sonvale::textprocessing {

namespace {

struct CategoryText {
    std::string_view rawValue;
    std::string_view displayPhrase;
};

constexpr std::array<CategoryText, allAppCategories.size()> texts{{
    {"personalMessaging", "personal messaging"},
    {"workMessaging", "work messaging"},
    {"email", "email"},
    {"code", "code"},
    {"browser", "browser"},
    {"notes", "notes"},
    {"other", "other"},
}};

const CategoryText& textOf(AppCategory category) {
    return texts.at(static_cast<std::size_t>(category));
}

struct KnownApplication {
    std::string_view bundleID;
    AppCategory category;
};

constexpr std::array<KnownApplication, 33> knownApplications{{
    {"com.apple.MobileSMS", AppCategory::personalMessaging},
    {"net.whatsapp.WhatsApp", AppCategory::personalMessaging},
    {"org.telegram.desktop", AppCategory::personalMessaging},
    {"org.whispersystems.signal-desktop", AppCategory::personalMessaging},
    {"com.facebook.archon", AppCategory::personalMessaging},
    {"com.tinyspeck.slackmacgap", AppCategory::workMessaging},
    {"com.microsoft.teams2", AppCategory::workMessaging},
    {"com.hnc.Discord", AppCategory::workMessaging},
    {"com.linear", AppCategory::workMessaging},
    {"com.apple.mail", AppCategory::email},
    {"com.microsoft.Outlook", AppCategory::email},
    {"com.google.Gmail", AppCategory::email},
    {"com.readdle.smartemail-macos", AppCategory::email},
    {"com.superhuman.mail", AppCategory::email},
    {"com.apple.dt.Xcode", AppCategory::code},
    {"com.microsoft.VSCode", AppCategory::code},
    {"com.todesktop.230313mzl4w4u92", AppCategory::code},
    {"dev.zed.Zed", AppCategory::code},
    {"com.sublimetext.4", AppCategory::code},
    {"com.googlecode.iterm2", AppCategory::code},
    {"com.apple.Terminal", AppCategory::code},
    {"net.kovidgoyal.kitty", AppCategory::code},
    {"com.jetbrains.intellij", AppCategory::code},
    {"com.apple.Safari", AppCategory::browser},
    {"com.google.Chrome", AppCategory::browser},
    {"org.mozilla.firefox", AppCategory::browser},
    {"com.brave.Browser", AppCategory::browser},
    {"company.thebrowser.Browser", AppCategory::browser},
    {"com.apple.Notes", AppCategory::notes},
    {"md.obsidian", AppCategory::notes},
    {"com.notion.id", AppCategory::notes},
    {"com.craftstudio.craft", AppCategory::notes},
    {"net.shinyfrog.bear", AppCategory::notes},
}};

} // namespace

std::string_view rawValue(AppCategory category) {
    return textOf(category).rawValue;
}

std::optional<AppCategory> appCategoryFromRawValue(std::string_view rawValue) {
    for (const auto category : allAppCategories) {
        if (textOf(category).rawValue == rawValue)
            return category;
    }
    return std::nullopt;
}

std::string_view displayPhrase(AppCategory category) {
    return textOf(category).displayPhrase;
}

AppCategory forBundleID(std::optional<std::string_view> bundleID) {
    if (!bundleID)
        return AppCategory::other;
    const auto known = std::ranges::find(knownApplications, *bundleID, &KnownApplication::bundleID);
    return known == knownApplications.end() ? AppCategory::other : known->category;
}

} // namespace sonvale::textprocessing
