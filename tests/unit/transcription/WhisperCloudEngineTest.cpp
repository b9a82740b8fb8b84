#include "transcription/WhisperCloudEngine.h"

#include "base/Json.h"
#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"
#include "transcription/TranscriptionError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace sonvale::transcription {

namespace {

using platform::UrlError;

class WhisperCloudEngineTest : public testing::Test {
protected:
    WhisperCloudEngineTest() {
        tests::writeFile(recording(), "AUDIO");
        makeEngine("sk-own", "sk-own");
    }

    std::filesystem::path recording() const { return directory_.path() + "/sonvale_1.m4a"; }

    void makeEngine(std::optional<std::string> key, std::optional<std::string> token) {
        services::ServiceAddresses addresses;
        addresses.backend = "https://backend.example/";
        addresses.service = "https://service.example";
        addresses.appVersion = "2.5";
        addresses.key = std::move(key);
        engine_ = std::make_shared<WhisperCloudEngine>(WhisperCloudEngine::Parts{
            .pool = runtime_.pool(),
            .clock = runtime_.clock(),
            .urlSessions = sessions_,
            .auditLogger = auditLogger_,
            .addresses = addresses,
            .tokenProvider = [token = std::move(token)] { return give(token); },
        });
    }

    /// Returns the text or the name of the error.
    std::string transcribe(std::optional<std::string> language = std::nullopt) {
        try {
            return runtime_.wait(engine_->transcribe(recording(), std::move(language)));
        } catch (const TranscriptionError& error) {
            return error.name();
        } catch (const std::system_error& error) {
            return error.code() == std::errc::no_such_file_or_directory ? "no such file" : error.what();
        }
    }
    std::string transcribeAfter(platform::UrlResponse response) {
        network().answerNext(std::move(response));
        return transcribe();
    }

    std::string audit() {
        runtime_.runUntilIdle();
        return tests::contentOf(directory_.path() + "/com.sonvale.app/audit.log");
    }

    tests::FakeUrlSessions::Control& network() { return sessions_.control(); }

    tests::LogCapture log_;
    tests::TemporaryDirectory directory_;
    tests::TestRuntime runtime_;
    tests::FakeUrlSessions sessions_;
    persistence::AuditLogger auditLogger_{runtime_.makeSerialActor("audit"), runtime_.clock(),
                                          directory_.path()};
    std::shared_ptr<WhisperCloudEngine> engine_;

private:
    static runtime::Task<std::optional<std::string>> give(std::optional<std::string> token) {
        co_return token;
    }
};

std::string text(const std::vector<std::byte>& bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace

TEST(MultipartBody, HasEveryFieldAndTheFile) {
    EXPECT_EQ(text(multipartBody("BB", "de", "sonvale_1.m4a", "AU\r\nDIO")),
              "--BB\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\ngpt-4o-mini-transcribe\r\n"
              "--BB\r\nContent-Disposition: form-data; name=\"language\"\r\n\r\nde\r\n"
              "--BB\r\nContent-Disposition: form-data; name=\"response_format\"\r\n\r\ntext\r\n"
              "--BB\r\nContent-Disposition: form-data; name=\"store\"\r\n\r\nfalse\r\n"
              "--BB\r\nContent-Disposition: form-data; name=\"file\"; filename=\"sonvale_1.m4a\"\r\n"
              "Content-Type: audio/m4a\r\n\r\nAU\r\nDIO\r\n--BB--\r\n");
}

TEST(MultipartBody, OmitsTheLanguageUnlessOneIsChosen) {
    for (const std::optional<std::string>& language : {std::optional<std::string>(), {""}, {"auto"}})
        EXPECT_EQ(text(multipartBody("B", language, "a.m4a", "")).find("language"), std::string::npos);
}

TEST_F(WhisperCloudEngineTest, PostsTheFileToTheServiceWithTheKey) {
    EXPECT_EQ(transcribeAfter({200, {}, " hello  there\n"}), "hello  there");
    const auto request = network().lastRequest();
    EXPECT_EQ(request->method, "POST");
    EXPECT_EQ(request->url, "https://service.example/v1/audio/transcriptions");
    EXPECT_EQ(request->header("Authorization"), "Bearer sk-own");
    EXPECT_EQ(request->header("X-App-Version"), std::nullopt);
    EXPECT_EQ(request->timeoutSeconds, 30);
    EXPECT_EQ(request->connectTimeoutSeconds, 8) << "the user waits";
    const auto type = request->header("Content-Type").value();
    const std::string prefix = "multipart/form-data; boundary=";
    ASSERT_TRUE(type.starts_with(prefix));
    EXPECT_EQ(request->body,
              text(multipartBody(type.substr(prefix.size()), std::nullopt, "sonvale_1.m4a", "AUDIO")));
}

TEST_F(WhisperCloudEngineTest, PostsTheFileToTheBackendWithTheUsersToken) {
    makeEngine(std::nullopt, "jwt");
    EXPECT_EQ(transcribeAfter({200, {}, "hello"}), "hello");
    const auto request = network().lastRequest();
    EXPECT_EQ(request->url, "https://backend.example/api/transcribe");
    EXPECT_EQ(request->header("Authorization"), "Bearer jwt");
    EXPECT_EQ(request->header("X-App-Version"), "2.5");
}

TEST_F(WhisperCloudEngineTest, UsesANewBoundaryForEachRequestAndOneSessionForAll) {
    transcribeAfter({200, {}, "one"});
    transcribeAfter({200, {}, "two"});
    const auto requests = network().requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_NE(requests[0]->header("Content-Type"), requests[1]->header("Content-Type"));
    EXPECT_EQ(network().sessions().size(), 1U);
}

TEST_F(WhisperCloudEngineTest, FailsWithoutAToken) {
    for (const std::optional<std::string>& token : {std::optional<std::string>(), {""}}) {
        makeEngine(std::nullopt, token);
        EXPECT_EQ(transcribe(), "apiKeyMissing");
    }
    EXPECT_TRUE(network().requests().empty());
}

TEST_F(WhisperCloudEngineTest, FailsForAMissingFileBeforeAnythingElse) {
    std::filesystem::remove(recording());
    EXPECT_EQ(transcribe(), "no such file");
    EXPECT_TRUE(network().requests().empty());
    EXPECT_EQ(audit().find("transcriptionRequested"), std::string::npos);
}

TEST_F(WhisperCloudEngineTest, SendsAnEmptyFile) {
    tests::writeFile(recording(), "");
    EXPECT_EQ(transcribeAfter({200, {}, "hm"}), "hm");
}

TEST_F(WhisperCloudEngineTest, ReportsTheErrorInTheAnswer) {
    EXPECT_EQ(transcribeAfter({std::nullopt, {}, "x"}), "invalidResponse");
    EXPECT_EQ(transcribeAfter({426, {}, "x"}), "upgradeRequired");
    EXPECT_EQ(transcribeAfter({500, {}, "down"}), "apiError");
    EXPECT_EQ(transcribeAfter({304, {}, ""}), "apiError");
    EXPECT_EQ(transcribeAfter({200, {}, " \n\t "}), "invalidResponse");
    EXPECT_EQ(transcribeAfter({200, {}, "\xff"}), "invalidResponse");
    EXPECT_EQ(transcribeAfter({299, {}, "fine"}), "fine");
    const auto description = [](const platform::UrlResponse& response) {
        try {
            return transcriptFrom(response);
        } catch (const TranscriptionError& error) {
            return error.errorDescription();
        }
    };
    EXPECT_EQ(description({500, {}, "down"}), "API error (500): down");
    EXPECT_EQ(description({500, {}, "\xff"}), "API error (500): Unknown error");
}

TEST_F(WhisperCloudEngineTest, WrapsTheTransportsError) {
    network().failNext(UrlError::Code::timedOut, "too slow");
    try {
        runtime_.wait(engine_->transcribe(recording(), std::nullopt));
        ADD_FAILURE();
    } catch (const TranscriptionError& error) {
        EXPECT_EQ(error.errorDescription(), "Network error: too slow");
        EXPECT_EQ(error.underlying(), (UnderlyingError{"NSURLErrorDomain", -1001, "too slow"}));
    }
}

TEST_F(WhisperCloudEngineTest, ReportsToTheAuditLog) {
    network().onRequest([this](tests::FakeRequest& request) {
        runtime_.clock().schedule(0.25, [&request] { request.answer(200, "three short words"); });
    });
    EXPECT_EQ(transcribe(), "three short words");
    const auto log = audit();
    std::vector<base::Json> entries;
    std::istringstream lines(log);
    for (std::string line; std::getline(lines, line);)
        entries.push_back(base::Json::parse(line));
    ASSERT_EQ(entries.size(), 2U) << log;
    EXPECT_EQ(entries[0].at("eventType"), "transcriptionRequested");
    EXPECT_EQ(entries[0].at("resource"), "transcription");
    EXPECT_EQ(entries[0].at("metadata"), (base::Json{{"audioSizeBytes", "5"}, {"engine", "whisper-api"}}));
    EXPECT_EQ(entries[1].at("eventType"), "transcriptionReceived");
    EXPECT_EQ(entries[1].at("resource"), "transcription");
    EXPECT_EQ(entries[1].at("metadata"), (base::Json{{"latencyMs", "250"}, {"wordCount", "3"}}));
    EXPECT_EQ(log.find("three"), std::string::npos) << "the words stay private";
    const auto printed = log_.perf();
    EXPECT_EQ(std::ranges::count(printed, "[PERF] Whisper cloud transcribe: 250ms"), 1);
}

TEST_F(WhisperCloudEngineTest, OverwritesTheBodyAfterEveryOutcome) {
    for (const int way : {0, 1, 2, 3}) {
        std::shared_ptr<const std::vector<std::byte>> body;
        network().onRequest([&](tests::FakeRequest& request) {
            body = request.liveBody();
            EXPECT_TRUE(std::ranges::any_of(*body, [](std::byte b) { return b != std::byte(0); }));
            if (way == 0)
                request.answer(200, "fine");
            else if (way == 1)
                request.answer(500, "down");
            else if (way == 2)
                request.fail(UrlError::Code::timedOut);
        });
        const auto task = runtime::spawn(runtime_.main(), engine_->transcribe(recording(), std::nullopt));
        runtime_.runUntilIdle();
        if (way == 3)
            task.cancel();
        runtime_.runUntilIdle();
        EXPECT_TRUE(task.isDone());
        ASSERT_TRUE(body);
        EXPECT_TRUE(std::ranges::all_of(*body, [](std::byte b) { return b == std::byte(0); })) << way;
    }
}

} // namespace sonvale::transcription
