#pragma once

#include "platform/SpeechRecognizer.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace sonvale::tests {

/// A recognizer whose answers a test gives; a recognition waits for its answer. A cancellation is answered at
/// once, inside `cancel()`.
class FakeSpeechRecognizers final : public platform::SpeechRecognizers {
public:
    /// One recognition, as the test sees it. Its calls answer on the caller's thread. Any thread.
    class Recognition final : public platform::SpeechRecognitionTask {
    public:
        Recognition(std::filesystem::path file, std::string locale,
                    platform::SpeechRecognizer::ResultHandler handler)
            : audioFile(std::move(file))
            , localeIdentifier(std::move(locale))
            , handler_(std::move(handler)) {}

        void partial(std::string text) { call(platform::SpeechRecognitionResult{std::move(text), false}); }
        void finish(std::string text) { call(platform::SpeechRecognitionResult{std::move(text), true}); }
        void fail(const platform::SpeechRecognitionError& error) {
            end();
            if (const auto handler = currentHandler())
                handler(nullptr, &error);
        }
        /// Answers without a result and without an error.
        void answerNothing() {
            end();
            if (const auto handler = currentHandler())
                handler(nullptr, nullptr);
        }
        void failForSilence() {
            fail({platform::assistantErrorDomain, platform::noSpeechErrorCode, "No speech detected"});
        }

        void cancel() override {
            {
                const std::lock_guard lock(mutex_);
                ++cancellations_;
                if (isEnded_)
                    return;
            }
            fail({platform::assistantErrorDomain, 216, "The recognition was cancelled."});
        }

        int cancellations() const {
            const std::lock_guard lock(mutex_);
            return cancellations_;
        }
        /// Returns whether it has had its last answer.
        bool isEnded() const {
            const std::lock_guard lock(mutex_);
            return isEnded_;
        }
        /// Destroys the handler; later answers are ignored.
        void drop() {
            platform::SpeechRecognizer::ResultHandler handler;
            const std::lock_guard lock(mutex_);
            handler.swap(handler_);
        }

        const std::filesystem::path audioFile;
        const std::string localeIdentifier;

    private:
        void call(const platform::SpeechRecognitionResult& result) {
            if (result.isFinal)
                end();
            if (const auto handler = currentHandler())
                handler(&result, nullptr);
        }
        void end() {
            const std::lock_guard lock(mutex_);
            isEnded_ = true;
        }
        platform::SpeechRecognizer::ResultHandler currentHandler() const {
            const std::lock_guard lock(mutex_);
            return handler_;
        }

        mutable std::mutex mutex_;
        platform::SpeechRecognizer::ResultHandler handler_;
        int cancellations_ = 0;
        bool isEnded_ = false;
    };

    /// The operations for tests. Any thread.
    class Control {
    public:
        void setAuthorization(platform::SpeechAuthorization status) {
            const std::lock_guard lock(mutex_);
            authorization_ = status;
        }
        /// Sets the languages that have a recognizer; English at first.
        void setLanguages(std::set<std::string> languages) {
            const std::lock_guard lock(mutex_);
            languages_ = std::move(languages);
        }
        void setAvailable(bool isAvailable) {
            const std::lock_guard lock(mutex_);
            isAvailable_ = isAvailable;
        }
        /// Answers every later recognition with a final result. Against the port's rule, this happens inside
        /// `recognitionTask`: in a test with one thread nothing else could do it.
        void answerWith(std::string words) {
            answerEachBy([words = std::move(words)](Recognition& recognition) { recognition.finish(words); });
        }
        /// As `answerWith`, with an error.
        void failWith(platform::SpeechRecognitionError error) {
            answerEachBy([error = std::move(error)](Recognition& recognition) { recognition.fail(error); });
        }
        /// As `answerWith`, by calling `answer` for each recognition.
        void answerBy(std::function<void(Recognition&)> answer) { answerEachBy(std::move(answer)); }
        /// Makes every later recognition wait again.
        void hold() { answerEachBy(nullptr); }
        /// Answers the waiting recognitions with a final result.
        void answer(const std::string& words) {
            for (const auto& recognition : recognitions()) {
                if (!recognition->isEnded())
                    recognition->finish(words);
            }
        }
        /// Returns how often a recognizer was prepared.
        int preparations() const {
            const std::lock_guard lock(mutex_);
            return preparations_;
        }
        /// Returns the number of started recognitions.
        int startedCount() const { return static_cast<int>(recognitions().size()); }

        /// Sets the words in a file, for `answerWaiting()`; empty for silence.
        void setWords(const std::filesystem::path& file, std::string words) {
            const std::lock_guard lock(mutex_);
            words_[file] = std::move(words);
        }

        /// Returns every started recognition, in order.
        std::vector<std::shared_ptr<Recognition>> recognitions() const {
            const std::lock_guard lock(mutex_);
            return recognitions_;
        }

        /// Answers the recognitions that have not ended with the words of their files. A file without words
        /// cannot be read.
        void answerWaiting() {
            for (const auto& recognition : recognitions()) {
                if (recognition->isEnded())
                    continue;
                std::unique_lock lock(mutex_);
                const auto found = words_.find(recognition->audioFile);
                const bool isReadable = found != words_.end();
                const auto words = isReadable ? found->second : std::string();
                lock.unlock();
                if (!isReadable)
                    recognition->fail({"com.sonvale.tests", 2, "The file cannot be read."});
                else if (words.empty())
                    recognition->failForSilence();
                else
                    recognition->finish(words);
            }
        }

    private:
        friend class FakeSpeechRecognizers;
        using Answer = std::function<void(Recognition&)>;

        void answerEachBy(Answer answer) {
            const std::lock_guard lock(mutex_);
            answer_ = std::move(answer);
        }
        void start(const std::shared_ptr<Recognition>& recognition) {
            Answer answer;
            {
                const std::lock_guard lock(mutex_);
                recognitions_.push_back(recognition);
                answer = answer_;
            }
            if (answer)
                answer(*recognition);
        }

        mutable std::mutex mutex_;
        Answer answer_;
        platform::SpeechAuthorization authorization_ = platform::SpeechAuthorization::authorized;
        std::set<std::string> languages_{"en"};
        bool isAvailable_ = true;
        int preparations_ = 0;
        std::map<std::filesystem::path, std::string> words_;
        std::vector<std::shared_ptr<Recognition>> recognitions_;
    };

    FakeSpeechRecognizers() = default;
    ~FakeSpeechRecognizers() override {
        // A handler and its recognition may own each other.
        for (const auto& recognition : control_->recognitions())
            recognition->drop();
    }

    platform::SpeechAuthorization authorizationStatus() override {
        const std::lock_guard lock(control_->mutex_);
        return control_->authorization_;
    }

    void requestAuthorization(std::function<void(platform::SpeechAuthorization)> answer) override {
        answer(authorizationStatus());
    }

    std::shared_ptr<platform::SpeechRecognizer> make(const std::string& localeIdentifier) override {
        const auto language = localeIdentifier.substr(0, localeIdentifier.find_first_of("-_"));
        const std::lock_guard lock(control_->mutex_);
        if (!control_->languages_.contains(language))
            return nullptr;
        return std::make_shared<Recognizer>(control_, localeIdentifier);
    }

    Control& control() { return *control_; }

private:
    class Recognizer final : public platform::SpeechRecognizer {
    public:
        Recognizer(std::shared_ptr<Control> control, std::string localeIdentifier)
            : control_(std::move(control))
            , localeIdentifier_(std::move(localeIdentifier)) {}

        bool isAvailable() const override {
            const std::lock_guard lock(control_->mutex_);
            return control_->isAvailable_;
        }

        void prepare() override {
            const std::lock_guard lock(control_->mutex_);
            ++control_->preparations_;
        }

        std::shared_ptr<platform::SpeechRecognitionTask>
        recognitionTask(const std::filesystem::path& audioFile, ResultHandler handler) override {
            auto recognition =
                std::make_shared<Recognition>(audioFile, localeIdentifier_, std::move(handler));
            control_->start(recognition);
            return recognition;
        }

    private:
        const std::shared_ptr<Control> control_;
        const std::string localeIdentifier_;
    };

    std::shared_ptr<Control> control_ = std::make_shared<Control>();
};

} // namespace sonvale::tests
