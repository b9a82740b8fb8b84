#include "tests/support/Accounts.h"

#include "base/Base64.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/RawClient.h"
#include "tests/support/ServiceAnswers.h"
#include "tests/support/WebToken.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ctime>
#include <stdexcept>

namespace sonvale::tests {

namespace {

using base::Json;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* ada = "ada@example.com";
constexpr const char* password = "difference engine";

struct Reply {
    int status = 0;
    std::string body;

    Json json() const { return *base::parseJson(body); }
    std::string text(const char* key) const { return base::jsonString(json(), key).value_or("(none)"); }
};

class AccountsTest : public testing::Test {
protected:
    AccountsTest() { accounts.add(ada, password); }

    static TestServer& prepared(TestServer& server) {
        serveEverything(server, "All of it.");
        return server;
    }

    Reply post(const std::string& path, const std::string& body, const std::string& headers = "") {
        RawClient client(server.port());
        client.send(
            fmt::format("POST {} HTTP/1.1\r\nHost: x\r\nConnection: close\r\n{}Content-Length: {}\r\n\r\n{}",
                        path, headers, body.size(), body));
        const auto answer = client.readToEnd();
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 "));
        return {.status = std::stoi(answer.substr(9, 3)), .body = answer.substr(answer.find("\r\n\r\n") + 4)};
    }

    Reply enter(const std::string& path, const std::string& email, const std::string& word) {
        return post(path, base::jsonText({{"email", email}, {"password", word}}));
    }
    Reply refresh(const std::string& token) {
        return post("/auth/refresh", base::jsonText({{"refresh_token", token}}));
    }
    Reply call(const std::string& path, const std::string& token) {
        return post(path, "{}", "Authorization: Bearer " + token + "\r\n");
    }
    std::string handshake(const std::string& token) {
        return RawClient(server.port()).upgrade("/v1/realtime", "Authorization: Bearer " + token + "\r\n");
    }

    const std::vector<std::string> guarded{"/api/chat", "/api/transcribe", "/api/realtime/session",
                                           "/api/support-chat"};
    TestServer server;
    Accounts accounts{prepared(server)};
};

Json claimsOf(const std::string& token) {
    const auto first = token.find('.') + 1;
    return *base::parseJson(*base::decodeBase64Url(token.substr(first, token.rfind('.') - first)));
}

TEST_F(AccountsTest, SignsInWithATokenForAllGuardedPaths) {
    const auto reply = enter("/auth/login", "Ada@Example.com", password);
    ASSERT_EQ(reply.status, 200);
    EXPECT_EQ(reply.json().at("/user/email"_json_pointer), ada);
    EXPECT_EQ(reply.text("token_type"), "bearer");
    EXPECT_EQ(reply.json().at("expires_in"), 3600);
    const auto token = reply.text("access_token");
    EXPECT_NEAR(claimsOf(token).at("exp").get<double>(), static_cast<double>(std::time(nullptr)) + 3600, 5);
    EXPECT_EQ(claimsOf(token).at("sub"), reply.json().at("/user/id"_json_pointer));

    EXPECT_THAT(call("/api/chat", token).body, HasSubstr("\"content\":\"All of it.\""));
    EXPECT_EQ(call("/api/transcribe", token).body, "All of it.\n");
    EXPECT_THAT(call("/api/support-chat", token).body, HasSubstr("data: [DONE]\n\n"));
    EXPECT_THAT(call("/api/realtime/session", token).text("value"), StartsWith("ek_"));
    EXPECT_EQ(accounts.counts().signIns, 1);
    EXPECT_EQ(accounts.counts().refusedRequests, 0);
}

TEST_F(AccountsTest, RefusesMissingForeignForgedAndExpiredTokens) {
    TestServer otherServer;
    Accounts other(otherServer);
    other.add(ada, password);
    const auto good = accounts.signIn(ada).access;
    auto changed = good;
    changed[changed.find('.') + 8] ^= 1;
    const auto unsignedToken =
        "eyJhbGciOiJub25lIn0" + good.substr(good.find('.'), good.rfind('.') + 1 - good.find('.'));
    accounts.setTokenSeconds(0);
    const auto expired = accounts.signIn(ada).access;

    int refused = 0;
    for (const auto& path : guarded) {
        for (const auto& [token, reason] :
             std::vector<std::pair<std::string, std::string>>{{other.signIn(ada).access, "Invalid token"},
                                                              {accessToken(ada, 3600), "Invalid token"},
                                                              {changed, "Invalid token"},
                                                              {unsignedToken, "Invalid token"},
                                                              {"no-token", "Invalid token"},
                                                              {expired, "Token has expired"}}) {
            const auto reply = call(path, token);
            EXPECT_EQ(reply.status, 401) << path << " " << token;
            EXPECT_EQ(reply.text("error"), reason) << path << " " << token;
            EXPECT_EQ(reply.json().at("code"), 401);
            EXPECT_TRUE(reply.json().contains("request_id"));
            ++refused;
        }
        EXPECT_EQ(post(path, "{}").text("error"), "Missing authorization token");
        EXPECT_EQ(post(path, "{}", "Authorization: Basic " + good + "\r\n").status, 401);
        refused += 2;
        EXPECT_EQ(call(path, good).status, 200);
    }
    EXPECT_EQ(accounts.counts().refusedRequests, refused);
}

TEST_F(AccountsTest, ExpiresTokensWithTime) {
    accounts.setTokenSeconds(2);
    const auto token = accounts.signIn(ada).access;
    EXPECT_EQ(call("/api/chat", token).status, 200);
    EXPECT_TRUE(eventually(10, [&] { return call("/api/chat", token).status == 401; }));
}

TEST_F(AccountsTest, SaysWhyASignInIsRefused) {
    accounts.addUnconfirmed("new@example.com", password);

    const auto wrong = enter("/auth/login", ada, "analytical engine");
    EXPECT_EQ(wrong.status, 400);
    EXPECT_EQ(
        wrong.json(),
        Json({{"code", 400}, {"error_code", "invalid_credentials"}, {"msg", "Invalid login credentials"}}));
    EXPECT_EQ(enter("/auth/login", "nobody@example.com", password).body, wrong.body);
    EXPECT_EQ(enter("/auth/login", "new@example.com", "wrong").text("error_code"), "invalid_credentials");
    const auto unconfirmed = enter("/auth/login", "new@example.com", password);
    EXPECT_EQ(unconfirmed.status, 400);
    EXPECT_EQ(unconfirmed.text("error_code"), "email_not_confirmed");
    EXPECT_EQ(unconfirmed.text("msg"), "Email not confirmed");
    EXPECT_EQ(post("/auth/login", "{").text("error_code"), "bad_json");
    EXPECT_EQ(post("/auth/login", "{}").text("error_code"), "validation_failed");
    EXPECT_EQ(accounts.counts().refusedSignIns, 6);

    accounts.confirm("new@example.com");
    EXPECT_EQ(enter("/auth/login", "new@example.com", password).status, 200);
}

TEST_F(AccountsTest, SignsUpOnce) {
    const auto first = enter("/auth/signup", "grace@example.com", "nanoseconds");
    ASSERT_EQ(first.status, 200);
    EXPECT_EQ(call("/api/chat", first.text("access_token")).status, 200);

    const auto again = enter("/auth/signup", "Grace@example.com", "nanoseconds");
    EXPECT_EQ(again.status, 422);
    EXPECT_EQ(again.text("error_code"), "user_already_exists");
    EXPECT_EQ(enter("/auth/signup", "short@example.com", "12345").text("error_code"), "weak_password");
    EXPECT_EQ(enter("/auth/login", "short@example.com", "12345").status, 400);
    EXPECT_EQ(enter("/auth/login", "grace@example.com", "nanoseconds").status, 200);
    EXPECT_EQ(accounts.counts().signUps, 1);
}

TEST_F(AccountsTest, OpensNoSessionBeforeTheAddressIsConfirmed) {
    accounts.setConfirmsSignUps(true);
    EXPECT_EQ(enter("/auth/signup", "new@example.com", password).text("error_code"), "email_not_confirmed");
    EXPECT_EQ(enter("/auth/login", "new@example.com", password).text("error_code"), "email_not_confirmed");
    accounts.confirm("new@example.com");
    EXPECT_EQ(enter("/auth/login", "new@example.com", password).status, 200);
}

TEST_F(AccountsTest, RotatesTheRefreshTokenAtEveryUse) {
    const auto tokens = accounts.signIn(ada);
    const auto first = refresh(tokens.refresh);
    ASSERT_EQ(first.status, 200);
    EXPECT_EQ(first.json().at("/user/email"_json_pointer), ada);
    EXPECT_NE(first.text("refresh_token"), tokens.refresh);
    EXPECT_EQ(call("/api/chat", first.text("access_token")).status, 200);

    const auto again = refresh(tokens.refresh);
    EXPECT_EQ(again.status, 401);
    EXPECT_EQ(again.text("error_code"), "refresh_token_already_used");
    EXPECT_EQ(refresh("rt_of_nobody").status, 401);
    EXPECT_EQ(refresh("rt_of_nobody").text("error_code"), "refresh_token_not_found");
    EXPECT_EQ(refresh(first.text("refresh_token")).status, 200);
    EXPECT_EQ(post("/auth/refresh", "[]").status, 400);
    EXPECT_EQ(accounts.counts().refreshes, 2);
    EXPECT_EQ(accounts.counts().refusedRefreshes, 3);
}

TEST_F(AccountsTest, RefusesTheRefreshTokensOfARevokedUser) {
    const auto tokens = accounts.signIn(ada);
    accounts.revoke("ADA@example.com");
    EXPECT_EQ(refresh(tokens.refresh).status, 401);
    EXPECT_EQ(call("/api/chat", tokens.access).status, 200);
}

TEST_F(AccountsTest, FailsOnRequestWithoutUsingTheToken) {
    const auto tokens = accounts.signIn(ada);
    accounts.failNext("/auth/refresh", backendError(500, "Down."), 2);
    EXPECT_EQ(refresh(tokens.refresh).status, 500);
    EXPECT_EQ(refresh(tokens.refresh).text("error"), "Down.");
    EXPECT_EQ(refresh(tokens.refresh).status, 200);
    EXPECT_EQ(accounts.counts().refreshes, 1);
    EXPECT_THROW(accounts.failNext("/api/chat", {}), std::out_of_range);
}

TEST_F(AccountsTest, DelaysOnRequestWithoutBlockingOthers) {
    const auto tokens = accounts.signIn(ada);
    accounts.delayNext("/auth/refresh", 0.5);
    const auto start = monotonicSeconds();
    RawClient slow(server.port());
    const auto body = base::jsonText({{"refresh_token", tokens.refresh}});
    slow.send(fmt::format("POST /auth/refresh HTTP/1.1\r\nContent-Length: {}\r\n\r\n{}", body.size(), body));
    ASSERT_TRUE(server.waitForRequests("/auth/refresh", 1, 5));
    EXPECT_EQ(call("/api/chat", tokens.access).status, 200);
    EXPECT_THAT(slow.readUntil("\r\n\r\n"), StartsWith("HTTP/1.1 200 "));
    EXPECT_GE(monotonicSeconds() - start, 0.5);
}

TEST_F(AccountsTest, OpensASocketOnlyWithATokenOfASession) {
    const auto access = accounts.signIn(ada).access;
    const auto value = call("/api/realtime/session", access).text("value");
    EXPECT_THAT(handshake(value), StartsWith("HTTP/1.1 101 "));
    EXPECT_THAT(handshake(access), StartsWith("HTTP/1.1 401 "));
    EXPECT_THAT(handshake("ek_of_nobody"), StartsWith("HTTP/1.1 401 "));
    EXPECT_EQ(server.sockets().size(), 1U);
    EXPECT_EQ(accounts.counts().refusedSockets, 2);
}

TEST_F(AccountsTest, ChecksTheTokenOnPathsWithAScriptedAnswer) {
    server.answerBy("/api/chat", [](const Request&) { return chatCompletion("From the test."); });
    EXPECT_EQ(call("/api/chat", "no-token").status, 401);
    EXPECT_THAT(call("/api/chat", accounts.signIn(ada).access).body, HasSubstr("From the test."));
}

TEST_F(AccountsTest, AcceptsOnlyPosts) {
    RawClient client(server.port());
    client.send("GET /auth/login HTTP/1.1\r\n\r\n");
    EXPECT_THAT(client.readUntil("\r\n\r\n"), StartsWith("HTTP/1.1 405 "));
}

TEST(WebToken, EqualsTheTokenOfOtherImplementations) {
    // The example of RFC 7515, appendix A.1, with its key.
    const std::string secret = *base::decodeBase64Url(
        "AyM1SysPpbyDfgZld3umj1qzKObwVMkoqQ-EstJQLr_T-1qS0gZH75aKtMN3Yj0iPS4hcgUuTwjAzZr1Z9CAow");
    const std::string token =
        "eyJ0eXAiOiJKV1QiLA0KICJhbGciOiJIUzI1NiJ9."
        "eyJpc3MiOiJqb2UiLA0KICJleHAiOjEzMDA4MTkzODAsDQogImh0dHA6Ly9leGFtcGxlLmNvbS9pc19y"
        "b290Ijp0cnVlfQ."
        "dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk";
    const auto claims = webTokenClaims(token, secret);
    ASSERT_TRUE(claims);
    EXPECT_EQ(claims->at("iss"), "joe");
    EXPECT_EQ(claims->at("exp"), 1300819380);
    EXPECT_FALSE(webTokenClaims(token, secret + "x"));
    EXPECT_EQ(webTokenClaims(signedWebToken(*claims, secret), secret), claims);
    for (const auto* const text : {"", ".", "..", "...", "a.b.c", "e30.e30.", "\xff.\xff.\xff"})
        EXPECT_FALSE(webTokenClaims(text, secret)) << text;
}

TEST(WebToken, IsInvalidWithAnotherAlgorithm) {
    // Both are signed with HMAC and SHA-256; the first says "none".
    EXPECT_FALSE(webTokenClaims("eyJhbGciOiJub25lIiwidHlwIjoiSldUIn0.eyJpc3MiOiJqb2UifQ."
                                "wkvx8Itwzu8Gm6W8QzIxrWFZUa9a3qHIlclVm4G7Ql0",
                                "secret"));
    EXPECT_TRUE(webTokenClaims("eyJhbGciOiJIUzI1NiIsInR5cCI6IkpXVCJ9.eyJpc3MiOiJqb2UifQ."
                               "yb-iLVXluCLKGDiKkuA0qgbKh7vbSrvNpKh2f-QihWg",
                               "secret"));
}

} // namespace

} // namespace sonvale::tests
