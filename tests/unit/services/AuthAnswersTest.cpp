#include "services/AuthAnswers.h"

#include "base/Base64.h"
#include "services/AuthError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace sonvale::services {

namespace {

constexpr double now = 1763683200;

std::string tokenWith(const std::string& claims) {
    auto payload = base::encodeBase64(claims);
    std::ranges::replace(payload, '+', '-');
    std::ranges::replace(payload, '/', '_');
    std::erase(payload, '=');
    return "header." + payload + ".signature";
}

bool isExpired(const std::string& claims) {
    return isTokenExpired(tokenWith(claims), now);
}

} // namespace

TEST(AuthAnswers, CountATokenWithLessThanAMinuteAsExpired) {
    EXPECT_FALSE(isExpired(R"({"exp":1763683261})"));
    EXPECT_TRUE(isExpired(R"({"exp":1763683260})"));
    EXPECT_TRUE(isExpired(R"({"exp":1763683199})"));
    EXPECT_FALSE(isExpired(R"({"exp":1763683260.5})"));
    EXPECT_FALSE(isExpired(R"({"exp":1e300})"));
}

TEST(AuthAnswers, CountAnyOtherTextAsExpired) {
    const auto good = tokenWith(R"({"exp":1999999999})");
    ASSERT_FALSE(isTokenExpired(good, now));
    for (const auto& token : {std::string(), std::string("a.b"), good + ".", "." + good, std::string(".."),
                              std::string("a.!!!.c"), std::string("a.e.c"), good.substr(0, good.rfind('.'))})
        EXPECT_TRUE(isTokenExpired(token, now)) << token;
    for (const auto* claims : {"", "no JSON", "[1999999999]", "{}", R"({"exp":"1999999999"})",
                               R"({"exp":null})", R"({"exp":true})", R"({"EXP":1999999999})", "1999999999"})
        EXPECT_TRUE(isExpired(claims)) << claims;
}

TEST(AuthAnswers, ParseTheAlphabetOfTokens) {
    // The claims contain both letters in which the alphabets differ, and every length of padding.
    for (const std::string filling : {"", "?", "??", "\xC3\xBF\xC3\xBE>>>???"}) {
        const auto token = tokenWith(R"({"exp":1999999999,"name":")" + filling + "\"}");
        EXPECT_FALSE(isTokenExpired(token, now)) << token;
    }
    EXPECT_FALSE(isTokenExpired("header.eyJleHAiOjE5OTk5OTk5OTl9.", now)) << "the signature is not looked at";
    EXPECT_FALSE(isTokenExpired("header.eyJleHAiOjE5OTk5OTk5OTkgfQ==.s", now)) << "padding may stand";
}

TEST(AuthAnswers, ParseASession) {
    using Response = AuthTokenResponse;
    EXPECT_EQ(authTokenResponse(R"({"access_token":"a","refresh_token":"r"})"),
              (Response{"a", "r", std::nullopt}));
    EXPECT_EQ(authTokenResponse(R"({"access_token":"a","refresh_token":"r","user":null,"more":[1]})"),
              (Response{"a", "r", std::nullopt}));
    EXPECT_EQ(authTokenResponse(R"({"access_token":"a","refresh_token":"r","user":{"email":null}})"),
              (Response{"a", "r", std::nullopt}));
    EXPECT_EQ(authTokenResponse(R"({"access_token":"a","refresh_token":"r","user":{"email":"e"}})"),
              (Response{"a", "r", "e"}));
    EXPECT_EQ(authTokenResponse(R"({"access_token":"","refresh_token":""})"),
              (Response{"", "", std::nullopt}));
}

TEST(AuthAnswers, RefuseAnswersThatAreNotASession) {
    for (const auto* body :
         {"", "no JSON", "null", "[]", "{}", R"({"access_token":"a"})", R"({"refresh_token":"r"})",
          R"({"access_token":1,"refresh_token":"r"})", R"({"access_token":"a","refresh_token":null})",
          R"({"access_token":"a","refresh_token":"r","user":"ann"})",
          R"({"access_token":"a","refresh_token":"r","user":{"email":3}})"})
        EXPECT_EQ(authTokenResponse(body), std::nullopt) << body;
}

TEST(AuthAnswers, UseTheFirstTextOfARefusal) {
    EXPECT_EQ(authErrorText(400, R"({"error_code":"email_not_confirmed","msg":"m","message":"n"})"),
              "Please confirm your account using the link sent to your email.");
    EXPECT_EQ(authErrorText(400, R"({"error_code":"other","msg":"m","message":"n","error":"e"})"), "m");
    EXPECT_EQ(authErrorText(400, R"({"message":"n","error":"e"})"), "n");
    EXPECT_EQ(authErrorText(400, R"({"msg":3,"error":"e"})"), "e");
    EXPECT_EQ(authErrorText(400, R"({"msg":""})"), "");
    for (const auto* body : {"", "oops", "[]", "{}", R"({"error":{"message":"deep"}})", "\xFF\xFE"})
        EXPECT_EQ(authErrorText(503, body), "Server error (503).") << body;
}

TEST(AuthError, DescribesEachCase) {
    const auto offline = AuthError::networkError({"NSURLErrorDomain", -1009, "There is no link."});
    EXPECT_EQ(offline.errorDescription(), "Network error: There is no link.");
    EXPECT_EQ(offline.underlying(), (UnderlyingError{"NSURLErrorDomain", -1009, "There is no link."}));
    EXPECT_EQ(AuthError::serverError("As it stands").errorDescription(), "As it stands");
    EXPECT_EQ(AuthError::refreshFailed().errorDescription(),
              "Your session has expired. Please sign in again.");
    EXPECT_EQ(AuthError::refreshFailed().errorCase(), AuthError::Case::refreshFailed);
}

} // namespace sonvale::services
