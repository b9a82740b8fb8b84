#include "transcription/SpeechLocale.h"

#include <gtest/gtest.h>

namespace sonvale::transcription {

TEST(SpeechLocale, IsTheLocaleOfEachOfTheNineLanguages) {
    const std::pair<std::string, std::string> rows[] = {{"en", "en-US"}, {"es", "es-ES"}, {"fr", "fr-FR"},
                                                        {"de", "de-DE"}, {"it", "it-IT"}, {"pt", "pt-BR"},
                                                        {"ja", "ja-JP"}, {"zh", "zh-CN"}, {"ko", "ko-KR"}};
    for (const auto& [language, locale] : rows)
        EXPECT_EQ(localeFor(language, "en-AU"), locale);
}

TEST(SpeechLocale, IsTheCurrentLocaleWithoutALanguageAndWithAuto) {
    EXPECT_EQ(localeFor(std::nullopt, "en-AU"), "en-AU");
    EXPECT_EQ(localeFor("auto", "en-AU"), "en-AU");
}

TEST(SpeechLocale, IsTheCurrentLocaleForAnyOtherString) {
    for (const char* language : {"ru", "", "EN", "en-US", "e", "english"})
        EXPECT_EQ(localeFor(language, "fr-CA"), "fr-CA") << language;
}

} // namespace sonvale::transcription
