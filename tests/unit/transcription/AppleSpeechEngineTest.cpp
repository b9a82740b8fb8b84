#include "transcription/AppleSpeechEngine.h"

#include "tests/fakes/FakeSpeechRecognizers.h"
#include "tests/support/TestRuntime.h"
#include "transcription/TranscriptionError.h"

#include <gtest/gtest.h>

#include <thread>

namespace sonvale::transcription {

namespace {

using platform::SpeechAuthorization;

class AppleSpeechEngineTest : public testing::Test {
protected:
    using Handle = runtime::TaskHandle<std::string>;

    Handle begin(std::optional<std::string> language = std::nullopt) {
        auto handle = runtime::spawn(runtime_.main(), engine_.transcribe("/tmp/a.m4a", std::move(language)));
        runtime_.runUntilIdle();
        return handle;
    }

    std::string outcome(const Handle& handle) {
        runtime_.runUntilIdle();
        if (!handle.isDone())
            return "still waiting";
        try {
            return "result " + runtime_.wait(handle.value());
        } catch (const TranscriptionError& error) {
            return error.name();
        }
    }

    std::vector<std::shared_ptr<tests::FakeSpeechRecognizers::Recognition>> started() {
        return recognizers_.control().recognitions();
    }

    tests::TestRuntime runtime_;
    tests::FakeSpeechRecognizers recognizers_;
    std::string currentLocale_ = "en-AU";
    AppleSpeechEngine engine_{recognizers_, [this] { return currentLocale_; }};
};

} // namespace

TEST_F(AppleSpeechEngineTest, RecognizesTheFileInTheCurrentLocaleIfNoLanguageIsGiven) {
    const auto handle = begin();
    ASSERT_EQ(started().size(), 1U);
    EXPECT_EQ(started()[0]->audioFile, "/tmp/a.m4a");
    EXPECT_EQ(started()[0]->localeIdentifier, "en-AU");
    started()[0]->finish("hello world");
    EXPECT_EQ(outcome(handle), "result hello world");
}

TEST_F(AppleSpeechEngineTest, ChoosesTheLocaleByTheLanguage) {
    recognizers_.control().setLanguages({"en", "pt"});
    const std::pair<std::string, std::string> rows[] = {
        {"auto", "en-AU"}, {"ru", "en-AU"}, {"en", "en-US"}, {"pt", "pt-BR"}};
    for (const auto& [language, locale] : rows) {
        const auto handle = begin(language);
        EXPECT_EQ(started().back()->localeIdentifier, locale);
        started().back()->finish("x");
        EXPECT_EQ(outcome(handle), "result x");
    }
}

TEST_F(AppleSpeechEngineTest, ReadsTheCurrentLocaleForEachFile) {
    const auto first = begin();
    started().back()->finish("x");
    currentLocale_ = "en-GB";
    const auto second = begin();
    EXPECT_EQ(started().back()->localeIdentifier, "en-GB");
    started().back()->finish("x");
    EXPECT_EQ(outcome(second), "result x");
}

TEST_F(AppleSpeechEngineTest, IsUnavailableForALanguageWithoutAModel) {
    EXPECT_EQ(outcome(begin("de")), "engineUnavailable");
    EXPECT_TRUE(started().empty());
}

TEST_F(AppleSpeechEngineTest, IsUnavailableAndStartsNothingIfNotAuthorized) {
    for (const auto status :
         {SpeechAuthorization::notDetermined, SpeechAuthorization::denied, SpeechAuthorization::restricted}) {
        recognizers_.control().setAuthorization(status);
        EXPECT_EQ(outcome(begin()), "engineUnavailable");
        EXPECT_FALSE(engine_.isAvailable());
    }
    EXPECT_TRUE(started().empty());
}

TEST_F(AppleSpeechEngineTest, IsUnavailableAndStartsNothingIfTheRecognizerIsUnavailable) {
    recognizers_.control().setAvailable(false);
    EXPECT_EQ(outcome(begin()), "engineUnavailable");
    EXPECT_TRUE(started().empty());
}

TEST_F(AppleSpeechEngineTest, IsAvailableIfTheRecognizerOfTheCurrentLocaleIs) {
    EXPECT_TRUE(engine_.isAvailable());
    recognizers_.control().setAvailable(false);
    EXPECT_FALSE(engine_.isAvailable());
    recognizers_.control().setAvailable(true);
    currentLocale_ = "de-DE";
    EXPECT_FALSE(engine_.isAvailable());
    recognizers_.control().setLanguages({"de"});
    EXPECT_TRUE(engine_.isAvailable());
}

TEST_F(AppleSpeechEngineTest, ReportsSilenceAsAnInvalidResponse) {
    const auto handle = begin();
    started()[0]->fail({"kAFAssistantErrorDomain", 1110, "No speech detected"});
    EXPECT_EQ(outcome(handle), "invalidResponse");
}

TEST_F(AppleSpeechEngineTest, WrapsEveryOtherError) {
    const platform::SpeechRecognitionError rows[] = {
        {"kAFAssistantErrorDomain", 1109, "busy"}, {"kLSRErrorDomain", 1110, "no assets"}, {"", 0, ""}};
    for (const auto& error : rows) {
        const auto handle = begin();
        started().back()->fail(error);
        runtime_.runUntilIdle();
        try {
            runtime_.wait(handle.value());
            FAIL() << "no error";
        } catch (const TranscriptionError& thrown) {
            EXPECT_EQ(thrown.name(), "networkError");
            EXPECT_EQ(thrown.underlying(),
                      (UnderlyingError{error.domain, error.code, error.localizedDescription}));
            EXPECT_EQ(thrown.errorDescription(), "Network error: " + error.localizedDescription);
        }
    }
}

TEST_F(AppleSpeechEngineTest, IgnoresAResultThatIsNotFinal) {
    const auto handle = begin();
    started()[0]->partial("hel");
    started()[0]->partial("");
    EXPECT_EQ(outcome(handle), "still waiting");
    started()[0]->finish("hello");
    EXPECT_EQ(outcome(handle), "result hello");
}

TEST_F(AppleSpeechEngineTest, ReportsAnEmptyTextAsAnInvalidResponse) {
    const auto handle = begin();
    started()[0]->finish("");
    EXPECT_EQ(outcome(handle), "invalidResponse");
}

TEST_F(AppleSpeechEngineTest, ReportsNeitherResultNorErrorAsAnInvalidResponse) {
    const auto handle = begin();
    started()[0]->answerNothing();
    EXPECT_EQ(outcome(handle), "invalidResponse");
}

TEST_F(AppleSpeechEngineTest, UsesTheFirstAnswerOnly) {
    const auto handle = begin();
    started()[0]->finish("hello");
    started()[0]->fail({"late", 1, "late"});
    started()[0]->finish("again");
    EXPECT_EQ(outcome(handle), "result hello");

    const auto other = begin();
    started()[1]->fail({"first", 1, "first"});
    started()[1]->finish("hello");
    EXPECT_EQ(outcome(other), "networkError");
}

TEST_F(AppleSpeechEngineTest, EndsWithTheRecognizersErrorIfCancelled) {
    const auto handle = begin();
    handle.cancel();
    runtime_.runUntilIdle();
    EXPECT_EQ(started()[0]->cancellations(), 1);
    EXPECT_EQ(outcome(handle), "networkError");
}

TEST_F(AppleSpeechEngineTest, CancelsTheRecognitionOfATaskThatIsAlreadyCancelled) {
    const auto handle = runtime::spawn(runtime_.main(), engine_.transcribe("/tmp/a.m4a", std::nullopt));
    handle.cancel();
    runtime_.runUntilIdle();
    ASSERT_EQ(started().size(), 1U);
    EXPECT_EQ(started()[0]->cancellations(), 1);
    EXPECT_EQ(outcome(handle), "networkError");
}

TEST_F(AppleSpeechEngineTest, KeepsTheResultIfCancelledAfterIt) {
    const auto handle = begin();
    started()[0]->finish("hello");
    handle.cancel();
    EXPECT_EQ(outcome(handle), "result hello");
}

TEST_F(AppleSpeechEngineTest, KeepsNoReferenceToAnEndedRecognition) {
    const auto handle = begin();
    const std::weak_ptr<platform::SpeechRecognitionTask> task = started()[0];
    started()[0]->finish("hello");
    EXPECT_EQ(outcome(handle), "result hello");
    started()[0]->drop();
    // The fake's own list holds the last reference.
    EXPECT_EQ(task.use_count(), 1);
}

TEST_F(AppleSpeechEngineTest, ResumesOnceIfAnswersAndCancellationCompete) {
    for (int round = 0; round < 200; ++round) {
        const auto handle = begin();
        const auto recognition = started().back();
        {
            std::vector<std::jthread> threads;
            threads.emplace_back([&] { recognition->finish("hello"); });
            threads.emplace_back([&] { recognition->fail({"late", 1, "late"}); });
            threads.emplace_back([&] { recognition->partial("hel"); });
            threads.emplace_back([&] { handle.cancel(); });
            while (!handle.isDone())
                runtime_.runUntilIdle();
        }
        const auto result = outcome(handle);
        EXPECT_TRUE(result == "result hello" || result == "networkError") << result;
        recognition->drop();
    }
}

TEST_F(AppleSpeechEngineTest, ReturnsTheAnswerToTheRequestForThePermission) {
    for (const auto status : {SpeechAuthorization::notDetermined, SpeechAuthorization::denied,
                              SpeechAuthorization::restricted, SpeechAuthorization::authorized}) {
        recognizers_.control().setAuthorization(status);
        EXPECT_EQ(runtime_.wait(AppleSpeechEngine::requestAuthorization(recognizers_)), status);
    }
}

} // namespace sonvale::transcription
