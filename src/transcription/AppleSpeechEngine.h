#pragma once

#include "platform/SpeechRecognizer.h"
#include "transcription/TranscriptionEngine.h"

#include <functional>
#include <string>

namespace sonvale::transcription {

/// Recognises the recorded file on this machine; nothing leaves it.
///
/// There is no time limit: a transcription ends when the recogniser answers or the task is cancelled. Besides
/// `engineUnavailable` (not authorised, or no recogniser for the language) it throws `invalidResponse`
/// (nothing was said) and `networkError`, which holds any other error of the recogniser, its cancellation
/// included.
class AppleSpeechEngine final : public TranscriptionEngine {
public:
    /// `recognizers` must outlive the engine and its tasks. `currentLocale` gives an identifier such as
    /// "en-US" and is called on any thread.
    AppleSpeechEngine(platform::SpeechRecognizers& recognizers, std::function<std::string()> currentLocale);

    bool isAvailable() const override;
    void prepare() override;
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override;

    /// Asks for the grant and waits for the answer; not cut short by cancelling. Never fails.
    static runtime::Task<platform::SpeechAuthorization>
    requestAuthorization(platform::SpeechRecognizers& recognizers);

private:
    platform::SpeechRecognizers& recognizers_;
    std::function<std::string()> currentLocale_;
};

} // namespace sonvale::transcription
