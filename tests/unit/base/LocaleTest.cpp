#include "base/Locale.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <optional>

namespace sonvale::base {

namespace {

/// Unsets the variables of the locale for one test and restores them afterwards.
class LocaleVariables {
public:
    LocaleVariables() {
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "LC_TIME", "LANG"}) {
            const char* value = std::getenv(name);
            former_[name] = value != nullptr ? std::optional<std::string>(value) : std::nullopt;
            ::unsetenv(name);
        }
    }
    ~LocaleVariables() {
        for (const auto& [name, value] : former_) {
            if (value)
                ::setenv(name.c_str(), value->c_str(), 1);
            else
                ::unsetenv(name.c_str());
        }
    }
    LocaleVariables(const LocaleVariables&) = delete;
    LocaleVariables& operator=(const LocaleVariables&) = delete;

private:
    std::map<std::string, std::optional<std::string>> former_;
};

} // namespace

TEST(Locale, ConvertsPosixNamesToIdentifiers) {
    struct Row {
        const char* posix;
        const char* identifier;
    };
    for (const auto& [posix, identifier] : std::initializer_list<Row>{
             {"", "en-US"},
             {"C", "en-US"},
             {"POSIX", "en-US"},
             {"C.UTF-8", "en-US"},
             {"en_US.UTF-8", "en-US"},
             {"de_DE.UTF-8", "de-DE"},
             {"de_DE@euro", "de-DE"},
             {"de_AT.ISO-8859-15@euro", "de-AT"},
             {"pt_BR", "pt-BR"},
             {"fr", "fr"},
             {"ja_JP.eucJP", "ja-JP"},
             {"zh_TW.Big5", "zh-TW"},
             {"sr_RS@latin", "sr-Latn-RS"},
             {"uz_UZ.UTF-8@cyrillic", "uz-Cyrl-UZ"},
             {"en-GB", "en-GB"},
             {"@euro", "en-US"},
             {".UTF-8", "en-US"},
             {"_DE", "en-US"},
             {"\xFF\xFE", "en-US"},
             {"12345", "en-US"},
         })
        EXPECT_EQ(localeIdentifier(posix), identifier) << '"' << posix << '"';
}

TEST(Locale, UsesTheVariableOfDatesForDates) {
    const LocaleVariables restored;
    EXPECT_EQ(currentDateLocaleIdentifier(), "en-US");
    ::setenv("LANG", "en_US.UTF-8", 1);
    ::setenv("LC_MESSAGES", "fr_FR.UTF-8", 1);
    ::setenv("LC_TIME", "de_DE.UTF-8", 1);
    EXPECT_EQ(currentDateLocaleIdentifier(), "de-DE");
    EXPECT_EQ(currentLocaleIdentifier(), "fr-FR");
    ::setenv("LC_ALL", "ja_JP.UTF-8", 1);
    EXPECT_EQ(currentDateLocaleIdentifier(), "ja-JP");
}

TEST(Locale, UsesTheFirstVariableThatIsSet) {
    const LocaleVariables restored;
    EXPECT_EQ(currentLocaleIdentifier(), "en-US");
    ::setenv("LANG", "fr_FR.UTF-8", 1);
    EXPECT_EQ(currentLocaleIdentifier(), "fr-FR");
    ::setenv("LC_MESSAGES", "de_DE.UTF-8", 1);
    EXPECT_EQ(currentLocaleIdentifier(), "de-DE");
    ::setenv("LC_ALL", "", 1);
    EXPECT_EQ(currentLocaleIdentifier(), "de-DE");
    ::setenv("LC_ALL", "C", 1);
    EXPECT_EQ(currentLocaleIdentifier(), "en-US");
}

} // namespace sonvale::base
