#pragma once

#include "platform/SpeechRecognizer.h"
#include "tests/support/ChildProcess.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace sonvale::tests {

/// Records what a recognizer's handler receives. Any thread.
class AnswerRecord {
public:
    struct Answer {
        std::optional<platform::SpeechRecognitionResult> result;
        std::optional<platform::SpeechRecognitionError> error;
        std::thread::id thread;
    };

    platform::SpeechRecognizer::ResultHandler handler() {
        // A test that has failed may have ended when its answer comes.
        return [state = state_](const auto* result, const auto* error) {
            const std::lock_guard lock(state->mutex);
            Answer answer;
            if (result)
                answer.result = *result;
            if (error)
                answer.error = *error;
            answer.thread = std::this_thread::get_id();
            state->answers.push_back(std::move(answer));
        };
    }

    std::vector<Answer> answers() const {
        const std::lock_guard lock(state_->mutex);
        return state_->answers;
    }
    bool isEmpty() const { return answers().empty(); }

    /// Returns the words of the only final result, or nullopt if there is no answer or an error.
    std::optional<std::string> words() const {
        const auto all = answers();
        if (all.size() != 1 || !all[0].result || !all[0].result->isFinal || all[0].error)
            return std::nullopt;
        return all[0].result->formattedString;
    }
    /// Returns the only error.
    std::optional<platform::SpeechRecognitionError> error() const {
        const auto all = answers();
        return all.size() == 1 && !all[0].result ? all[0].error : std::nullopt;
    }

private:
    struct State {
        std::mutex mutex;
        std::vector<Answer> answers; ///< guarded by `mutex`
    };
    std::shared_ptr<State> state_ = std::make_shared<State>();
};

/// The rules of `platform::SpeechRecognizers`. An `Environment` has `recognizers()`, the files `sentence()`
/// (which contains `words()`), `silence()` and `garbage()`, and `settle()`, which makes a fake answer.
template <class Environment>
class SpeechRecognizerContract : public testing::Test {
protected:
    std::shared_ptr<platform::SpeechRecognizer> english() { return environment_.recognizers().make("en-US"); }

    bool waitFor(const AnswerRecord& record) {
        return eventually(60, [&] {
            environment_.settle();
            return !record.isEmpty();
        });
    }

    Environment environment_;
    AnswerRecord record_;
};

TYPED_TEST_SUITE_P(SpeechRecognizerContract);

TYPED_TEST_P(SpeechRecognizerContract, IsAuthorized) {
    auto& recognizers = this->environment_.recognizers();
    EXPECT_EQ(recognizers.authorizationStatus(), platform::SpeechAuthorization::authorized);
    std::vector<platform::SpeechAuthorization> answers;
    recognizers.requestAuthorization(
        [&](platform::SpeechAuthorization status) { answers.push_back(status); });
    EXPECT_EQ(answers, std::vector{platform::SpeechAuthorization::authorized});
}

TYPED_TEST_P(SpeechRecognizerContract, HasARecognizerOnlyForTheLanguagesOfItsModels) {
    auto& recognizers = this->environment_.recognizers();
    for (const char* locale : {"en-US", "en_AU", "en-GB", "en"}) {
        const auto recognizer = recognizers.make(locale);
        ASSERT_NE(recognizer, nullptr) << locale;
        EXPECT_TRUE(recognizer->isAvailable()) << locale;
    }
    for (const char* locale : {"de-DE", "fr", "ja_JP", "", "eng-US", "e", "-en", "enough"})
        EXPECT_EQ(recognizers.make(locale), nullptr) << locale;
}

TYPED_TEST_P(SpeechRecognizerContract, AnswersWithOneFinalResultAfterTheCallHasReturned) {
    const auto task =
        this->english()->recognitionTask(this->environment_.sentence(), this->record_.handler());
    ASSERT_NE(task, nullptr);
    EXPECT_TRUE(this->record_.isEmpty());
    ASSERT_TRUE(this->waitFor(this->record_));
    EXPECT_EQ(this->record_.words(), this->environment_.words());
    task->cancel();
    this->environment_.settle();
    EXPECT_EQ(this->record_.answers().size(), 1U);
}

TYPED_TEST_P(SpeechRecognizerContract, AnswersAfterAPreparation) {
    const auto recognizer = this->english();
    recognizer->prepare();
    recognizer->prepare();
    recognizer->recognitionTask(this->environment_.sentence(), this->record_.handler());
    ASSERT_TRUE(this->waitFor(this->record_));
    EXPECT_EQ(this->record_.words(), this->environment_.words());
}

TYPED_TEST_P(SpeechRecognizerContract, ReportsThatNothingWasSaid) {
    this->english()->recognitionTask(this->environment_.silence(), this->record_.handler());
    ASSERT_TRUE(this->waitFor(this->record_));
    ASSERT_TRUE(this->record_.error().has_value());
    EXPECT_EQ(this->record_.error()->domain, platform::assistantErrorDomain);
    EXPECT_EQ(this->record_.error()->code, platform::noSpeechErrorCode);
}

TYPED_TEST_P(SpeechRecognizerContract, AnswersWithAnErrorForAFileWithoutAudio) {
    this->english()->recognitionTask(this->environment_.garbage(), this->record_.handler());
    ASSERT_TRUE(this->waitFor(this->record_));
    ASSERT_TRUE(this->record_.error().has_value());
    EXPECT_FALSE(this->record_.error()->localizedDescription.empty());
    EXPECT_NE(this->record_.error()->code, platform::noSpeechErrorCode);
}

TYPED_TEST_P(SpeechRecognizerContract, AnswersACancellationQuicklyAndOnce) {
    const auto task =
        this->english()->recognitionTask(this->environment_.sentence(), this->record_.handler());
    task->cancel();
    task->cancel();
    ASSERT_TRUE(eventually(5, [&] { return !this->record_.isEmpty(); }));
    this->environment_.settle();
    ASSERT_TRUE(this->record_.error().has_value());
    EXPECT_NE(this->record_.error()->code, platform::noSpeechErrorCode);
}

TYPED_TEST_P(SpeechRecognizerContract, ContinuesAfterTheTaskAndTheRecognizerAreDestroyed) {
    this->english()->recognitionTask(this->environment_.sentence(), this->record_.handler());
    ASSERT_TRUE(this->waitFor(this->record_));
    EXPECT_EQ(this->record_.words(), this->environment_.words());
}

TYPED_TEST_P(SpeechRecognizerContract, AnswersSeveralSimultaneousRecognitions) {
    AnswerRecord silent;
    AnswerRecord cancelled;
    AnswerRecord last;
    const auto recognizer = this->english();
    recognizer->recognitionTask(this->environment_.sentence(), this->record_.handler());
    recognizer->recognitionTask(this->environment_.silence(), silent.handler());
    const auto task = recognizer->recognitionTask(this->environment_.sentence(), cancelled.handler());
    recognizer->recognitionTask(this->environment_.sentence(), last.handler());
    task->cancel();
    for (const auto* record : {&this->record_, &silent, &cancelled, &last})
        ASSERT_TRUE(this->waitFor(*record));
    EXPECT_EQ(this->record_.words(), this->environment_.words());
    EXPECT_TRUE(silent.error().has_value());
    EXPECT_TRUE(cancelled.error().has_value());
    EXPECT_EQ(last.words(), this->environment_.words());
}

REGISTER_TYPED_TEST_SUITE_P(SpeechRecognizerContract, IsAuthorized,
                            HasARecognizerOnlyForTheLanguagesOfItsModels,
                            AnswersWithOneFinalResultAfterTheCallHasReturned, AnswersAfterAPreparation,
                            ReportsThatNothingWasSaid, AnswersWithAnErrorForAFileWithoutAudio,
                            AnswersACancellationQuicklyAndOnce,
                            ContinuesAfterTheTaskAndTheRecognizerAreDestroyed,
                            AnswersSeveralSimultaneousRecognitions);

} // namespace sonvale::tests
