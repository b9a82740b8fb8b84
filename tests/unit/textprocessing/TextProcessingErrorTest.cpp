#include "textprocessing/TextProcessingError.h"

#include <gtest/gtest.h>

namespace sonvale::textprocessing {

TEST(TextProcessingError, HasATextForTheUserAndItsPayload) {
    using Case = TextProcessingError::Case;
    struct Row {
        TextProcessingError error;
        Case errorCase;
        std::string description;
    };
    const Row rows[] = {
        {TextProcessingError::networkError({"NSURLErrorDomain", -1009, "offline"}), Case::networkError,
         "Network error: offline"},
        {TextProcessingError::apiError(500, "down \u00E9"), Case::apiError, "API error (500): down \u00E9"},
        {TextProcessingError::apiError(404, ""), Case::apiError, "API error (404): "},
        {TextProcessingError::apiKeyMissing(), Case::apiKeyMissing, "API key is not configured."},
        {TextProcessingError::invalidResponse(), Case::invalidResponse, "Invalid response from API."},
        {TextProcessingError::emptyResponse(), Case::emptyResponse, "API returned an empty response."},
        {TextProcessingError::upgradeRequired(), Case::upgradeRequired,
         "Please update Son Vale to the latest version."},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.error.errorCase(), row.errorCase);
        EXPECT_EQ(row.error.errorDescription(), row.description);
        EXPECT_STREQ(row.error.what(), row.description.c_str());
    }
    EXPECT_EQ(rows[0].error.underlying(), (UnderlyingError{"NSURLErrorDomain", -1009, "offline"}));
    EXPECT_EQ(rows[1].error.statusCode(), 500);
    EXPECT_EQ(rows[1].error.body(), "down \u00E9");
    EXPECT_EQ(rows[3].error.statusCode(), 0);
}

} // namespace sonvale::textprocessing
