#pragma once

#include "platform/SpeechRecognizer.h"
#include "transcription/TranscriptionEngine.h"

#include <functional>
#include <string>

namespace sonvale::transcription {

/// Transcribes the recorded file on this machine. Sends nothing over the network.
///
/// There is no time limit: a transcription ends when the recognizer answers or the task is cancelled. Throws
/// `engineUnavailable` (not authorized, or no recognizer for the language), `invalidResponse` (no speech), or
/// `networkError`, which contains any other error of the recognizer, including its cancellation.
class AppleSpeechEngine final : public TranscriptionEngine {
public:
    /// `recognizers` must outlive the engine and its tasks. `currentLocale` returns an identifier such as
    /// "en-US" and is called on any thread.
    AppleSpeechEngine(platform::SpeechRecognizers& recognizers, std::function<std::string()> currentLocale);

    bool isAvailable() const override;
    void prepare() override;
    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override;

    /// Asks for the permission and waits for the answer. Cancelling does not end the wait. Never fails.
    static runtime::Task<platform::SpeechAuthorization>
    requestAuthorization(platform::SpeechRecognizers& recognizers);

private:
    platform::SpeechRecognizers& recognizers_;
    std::function<std::string()> currentLocale_;
};

} // namespace sonvale::transcription
