#include "textprocessing/AppCategory.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace sonvale::textprocessing {

TEST(AppCategory, HasItsTextsAndItsOrder) {
    struct Row {
        AppCategory category;
        std::string rawValue;
        std::string displayPhrase;
    };
    const std::vector<Row> rows{
        {AppCategory::personalMessaging, "personalMessaging", "personal messaging"},
        {AppCategory::workMessaging, "workMessaging", "work messaging"},
        {AppCategory::email, "email", "email"},
        {AppCategory::code, "code", "code"},
        {AppCategory::browser, "browser", "browser"},
        {AppCategory::notes, "notes", "notes"},
        {AppCategory::other, "other", "other"},
    };
    ASSERT_EQ(rows.size(), allAppCategories.size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(allAppCategories[i], rows[i].category);
        EXPECT_EQ(rawValue(rows[i].category), rows[i].rawValue);
        EXPECT_EQ(displayPhrase(rows[i].category), rows[i].displayPhrase);
        EXPECT_EQ(appCategoryFromRawValue(rows[i].rawValue), rows[i].category);
    }
    EXPECT_EQ(appCategoryFromRawValue("work messaging"), std::nullopt);
}

TEST(AppCategory, ContainsItsApplications) {
    const std::map<AppCategory, std::vector<std::string>> applications{
        {AppCategory::personalMessaging,
         {"com.apple.MobileSMS", "net.whatsapp.WhatsApp", "org.telegram.desktop",
          "org.whispersystems.signal-desktop", "com.facebook.archon"}},
        {AppCategory::workMessaging,
         {"com.tinyspeck.slackmacgap", "com.microsoft.teams2", "com.hnc.Discord", "com.linear"}},
        {AppCategory::email,
         {"com.apple.mail", "com.microsoft.Outlook", "com.google.Gmail", "com.readdle.smartemail-macos",
          "com.superhuman.mail"}},
        {AppCategory::code,
         {"com.apple.dt.Xcode", "com.microsoft.VSCode", "com.todesktop.230313mzl4w4u92", "dev.zed.Zed",
          "com.sublimetext.4", "com.googlecode.iterm2", "com.apple.Terminal", "net.kovidgoyal.kitty",
          "com.jetbrains.intellij"}},
        {AppCategory::browser,
         {"com.apple.Safari", "com.google.Chrome", "org.mozilla.firefox", "com.brave.Browser",
          "company.thebrowser.Browser"}},
        {AppCategory::notes,
         {"com.apple.Notes", "md.obsidian", "com.notion.id", "com.craftstudio.craft", "net.shinyfrog.bear"}},
    };
    std::size_t count = 0;
    for (const auto& [category, identifiers] : applications) {
        count += identifiers.size();
        for (const auto& identifier : identifiers)
            EXPECT_EQ(forBundleID(identifier), category) << identifier;
    }
    EXPECT_EQ(count, 33U);
}

TEST(AppCategory, IsOtherForAnyUnlistedIdentifier) {
    EXPECT_EQ(forBundleID(std::nullopt), AppCategory::other);
    for (const auto* identifier : {"", "com.microsoft.vscode", "com.microsoft.VSCode.insiders",
                                   "com.microsoft", " com.apple.mail", "org.gnome.TextEditor"})
        EXPECT_EQ(forBundleID(identifier), AppCategory::other) << identifier;
}

} // namespace sonvale::textprocessing
