#pragma once

#include "base/Json.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"
#include "textprocessing/OpenAIChatClient.h"
#include "textprocessing/TextProcessingError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace sonvale::textprocessing {

/// A chat client with a network that the test controls.
class ChatFixture : public testing::Test {
protected:
    static constexpr const char* ownKey = "sk-own";

    services::ServiceAddresses addresses(std::optional<std::string> key) const {
        services::ServiceAddresses addresses;
        addresses.backend = "https://backend.example/";
        addresses.service = "https://service.example";
        addresses.appVersion = "2.5";
        addresses.key = std::move(key);
        return addresses;
    }

    OpenAIChatClient makeClient(std::optional<std::string> key, std::optional<std::string> token) {
        return OpenAIChatClient({
            .pool = runtime_.pool(),
            .clock = runtime_.clock(),
            .urlSession = urlSession_,
            .auditLogger = auditLogger_,
            .addresses = addresses(std::move(key)),
            .tokenProvider = [token = std::move(token)] { return give(token); },
        });
    }
    /// Makes a client with its own key, for the direct path.
    OpenAIChatClient makeClient() { return makeClient(ownKey, ownKey); }

    static std::string answerWith(const std::string& content) {
        const auto message = base::Json{{"role", "assistant"}, {"content", content}};
        return base::jsonText({{"choices", base::Json::array({{{"message", message}}})}});
    }

    /// Returns the description of the error that the call throws.
    std::string failureOf(runtime::Task<std::string> call) {
        try {
            return "no failure, but " + runtime_.wait(std::move(call));
        } catch (const TextProcessingError& error) {
            return error.errorDescription();
        }
    }

    tests::FakeUrlSessions::Control& network() { return sessions_.control(); }

    std::string audit() {
        runtime_.runUntilIdle();
        return tests::contentOf(directory_.path() + "/com.sonvale.app/audit.log");
    }

    tests::LogCapture log_;
    tests::TemporaryDirectory directory_;
    tests::TestRuntime runtime_;
    tests::FakeUrlSessions sessions_;
    persistence::AuditLogger auditLogger_{runtime_.makeSerialActor("audit"), runtime_.clock(),
                                          directory_.path()};
    std::shared_ptr<services::SharedUrlSession> urlSession_ =
        std::make_shared<services::SharedUrlSession>(sessions_);

private:
    static runtime::Task<std::optional<std::string>> give(std::optional<std::string> token) {
        co_return token;
    }
};

} // namespace sonvale::textprocessing
