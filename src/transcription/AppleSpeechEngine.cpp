#include "transcription/AppleSpeechEngine.h"

#include "transcription/SpeechLocale.h"
#include "transcription/TranscriptionError.h"

#include <exception>
#include <memory>
#include <mutex>
#include <utility>

namespace sonvale::transcription {

namespace {

using platform::SpeechAuthorization;
using platform::SpeechRecognitionError;
using platform::SpeechRecognitionResult;
using platform::SpeechRecognitionTask;

/// The state that the recognizer's handler, the waiting caller and its cancellation share.
class TaskBox {
public:
    void store(std::shared_ptr<SpeechRecognitionTask> task) {
        const std::lock_guard lock(lock_);
        task_ = std::move(task);
    }

    void cancel() {
        std::shared_ptr<SpeechRecognitionTask> task;
        {
            const std::lock_guard lock(lock_);
            task = task_;
        }
        if (task)
            task->cancel();
    }

    /// Returns true for the first call only. That caller may resume the continuation.
    bool claim() {
        const std::lock_guard lock(lock_);
        return !std::exchange(resumed_, true);
    }

private:
    std::mutex lock_;
    std::shared_ptr<SpeechRecognitionTask> task_; ///< guarded by `lock_`
    bool resumed_ = false;                        ///< guarded by `lock_`
};

TranscriptionError errorFor(const SpeechRecognitionError& error) {
    if (error.domain == platform::assistantErrorDomain && error.code == platform::noSpeechErrorCode)
        return TranscriptionError::invalidResponse();
    return TranscriptionError::networkError({error.domain, error.code, error.localizedDescription});
}

/// The recognizer may call this several times, on any thread. Resumes the waiting caller once.
void handle(TaskBox& box, const runtime::Continuation<std::string>& continuation,
            const SpeechRecognitionResult* result, const SpeechRecognitionError* error) {
    if (!error && result && !result->isFinal)
        return;
    if (!box.claim())
        return;
    if (error)
        continuation.fail(std::make_exception_ptr(errorFor(*error)));
    else if (result && !result->formattedString.empty())
        continuation.resume(result->formattedString);
    else
        continuation.fail(std::make_exception_ptr(TranscriptionError::invalidResponse()));
}

} // namespace

AppleSpeechEngine::AppleSpeechEngine(platform::SpeechRecognizers& recognizers,
                                     std::function<std::string()> currentLocale)
    : recognizers_(recognizers)
    , currentLocale_(std::move(currentLocale)) {}

bool AppleSpeechEngine::isAvailable() const {
    if (recognizers_.authorizationStatus() != SpeechAuthorization::authorized)
        return false;
    const auto recognizer = recognizers_.make(currentLocale_());
    return recognizer && recognizer->isAvailable();
}

void AppleSpeechEngine::prepare() {
    if (const auto recognizer = recognizers_.make(currentLocale_()))
        recognizer->prepare();
}

runtime::Task<std::string> AppleSpeechEngine::transcribe(std::filesystem::path audioFileURL,
                                                         std::optional<std::string> language) {
    const auto recognizer = recognizers_.make(localeFor(language, currentLocale_()));
    if (!recognizer)
        throw TranscriptionError::engineUnavailable();
    if (recognizers_.authorizationStatus() != SpeechAuthorization::authorized || !recognizer->isAvailable())
        throw TranscriptionError::engineUnavailable();

    const auto box = std::make_shared<TaskBox>();
    std::function<void(runtime::Continuation<std::string>)> start =
        [box, recognizer, audioFileURL](runtime::Continuation<std::string> continuation) {
            box->store(recognizer->recognitionTask(
                audioFileURL, [box, continuation](const auto* result, const auto* error) {
                    handle(*box, continuation, result, error);
                }));
        };
    // If the task is cancelled before the recognition has begun, the recognition is cancelled as soon as it
    // begins. Only the recognizer's answer resumes the caller.
    std::function<void()> onCancel = [box] { box->cancel(); };
    co_return co_await runtime::suspend<std::string>(std::move(start), std::move(onCancel));
}

runtime::Task<platform::SpeechAuthorization>
AppleSpeechEngine::requestAuthorization(platform::SpeechRecognizers& recognizers) {
    auto* const asked = &recognizers;
    std::function<void(runtime::Continuation<SpeechAuthorization>)> start =
        [asked](runtime::Continuation<SpeechAuthorization> continuation) {
            asked->requestAuthorization(
                [continuation](SpeechAuthorization status) { continuation.resume(status); });
        };
    return runtime::suspend<SpeechAuthorization>(std::move(start));
}

} // namespace sonvale::transcription
