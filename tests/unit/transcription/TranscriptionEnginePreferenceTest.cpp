#include "transcription/TranscriptionEnginePreference.h"

#include <gtest/gtest.h>

namespace sonvale::transcription {

using Preference = TranscriptionEnginePreference;

TEST(TranscriptionEnginePreference, IsStoredAsItsRawValue) {
    const std::pair<Preference, std::string> rows[] = {{Preference::cloud, "cloud"},
                                                       {Preference::local, "local"},
                                                       {Preference::hybrid, "hybrid"},
                                                       {Preference::streaming, "streaming"}};
    for (const auto& [preference, raw] : rows) {
        EXPECT_EQ(rawValue(preference), raw);
        EXPECT_EQ(preferenceFromRawValue(raw), preference);
        EXPECT_EQ(preferenceAtStart(raw), preference);
    }
}

TEST(TranscriptionEnginePreference, RejectsAnyOtherString) {
    for (const char* raw : {"", "Cloud", "LOCAL", "hybrid ", " streaming", "turbo", "cloudlocal"}) {
        EXPECT_EQ(preferenceFromRawValue(raw), std::nullopt) << raw;
        EXPECT_EQ(preferenceAtStart(raw), Preference::hybrid) << raw;
    }
    EXPECT_EQ(preferenceFromRawValue(std::string_view("local\0", 6)), std::nullopt);
}

TEST(TranscriptionEnginePreference, IsHybridIfNoneIsStored) {
    EXPECT_EQ(preferenceAtStart(std::nullopt), Preference::hybrid);
}

} // namespace sonvale::transcription
