#include "transcription/TranscriptionError.h"

#include <gtest/gtest.h>

#include <set>
#include <vector>

namespace sonvale::transcription {

namespace {

struct Row {
    TranscriptionError error;
    std::string name;
    std::string description;
};

std::vector<Row> rows() {
    return {
        {TranscriptionError::networkError(
             {"NSURLErrorDomain", -1009, "The Internet connection appears to be offline."}),
         "networkError", "Network error: The Internet connection appears to be offline."},
        {TranscriptionError::apiError(503, "try later"), "apiError", "API error (503): try later"},
        {TranscriptionError::noAudioFile(), "noAudioFile", "No audio file found for transcription."},
        {TranscriptionError::apiKeyMissing(), "apiKeyMissing", "API key is not configured."},
        {TranscriptionError::invalidResponse(), "invalidResponse",
         "Invalid response from transcription service."},
        {TranscriptionError::engineUnavailable(), "engineUnavailable",
         "Transcription engine is not available."},
        {TranscriptionError::timeout(), "timeout", "Transcription timed out."},
        {TranscriptionError::upgradeRequired(), "upgradeRequired",
         "Please update Son Vale to the latest version."},
    };
}

} // namespace

TEST(TranscriptionError, HasATextForTheUserInEachCase) {
    for (const auto& row : rows()) {
        EXPECT_EQ(row.error.errorDescription(), row.description);
        EXPECT_STREQ(row.error.what(), row.description.c_str());
    }
}

TEST(TranscriptionError, HasEightCasesInTheirOrder) {
    int expected = 0;
    for (const auto& row : rows()) {
        EXPECT_EQ(static_cast<int>(row.error.errorCase()), expected++);
        EXPECT_EQ(row.error.name(), row.name);
    }
    EXPECT_EQ(expected, 8);
}

TEST(TranscriptionError, KeepsThePayload) {
    const UnderlyingError offline{"NSURLErrorDomain", -1009, "offline"};
    EXPECT_EQ(TranscriptionError::networkError(offline).underlying(), offline);
    const auto refused = TranscriptionError::apiError(-7, "\xC3\xA9\n");
    EXPECT_EQ(refused.statusCode(), -7);
    EXPECT_EQ(refused.body(), "\xC3\xA9\n");
    EXPECT_EQ(refused.errorDescription(), "API error (-7): \xC3\xA9\n");
    EXPECT_EQ(TranscriptionError::apiError(500, "").errorDescription(), "API error (500): ");
}

} // namespace sonvale::transcription
