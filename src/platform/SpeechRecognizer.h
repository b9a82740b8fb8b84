#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::platform {

/// Raw values are those of the system's own interface.
enum class SpeechAuthorization { notDetermined = 0, denied = 1, restricted = 2, authorized = 3 };

struct SpeechRecognitionError {
    std::string domain;
    int code = 0;
    std::string localizedDescription;
};

/// Domain and code that say that no speech was heard.
inline constexpr const char* assistantErrorDomain = "kAFAssistantErrorDomain";
inline constexpr int noSpeechErrorCode = 1110;

struct SpeechRecognitionResult {
    std::string formattedString;
    bool isFinal = false;
};

/// A running recognition. Any thread.
class SpeechRecognitionTask {
public:
    SpeechRecognitionTask() = default;
    SpeechRecognitionTask(const SpeechRecognitionTask&) = delete;
    SpeechRecognitionTask& operator=(const SpeechRecognitionTask&) = delete;
    /// Dropping the task does not end the recognition.
    virtual ~SpeechRecognitionTask() = default;

    /// Ends the recognition soon (well under a second); the handler then gets an error. Nothing once it has
    /// ended.
    virtual void cancel() = 0;
};

/// Recognises one language on this machine. Any thread.
class SpeechRecognizer {
public:
    /// Called on a thread of the recogniser's choosing, possibly several times, the last time with a final
    /// result or an error.
    using ResultHandler =
        std::function<void(const SpeechRecognitionResult* result, const SpeechRecognitionError* error)>;

    SpeechRecognizer() = default;
    SpeechRecognizer(const SpeechRecognizer&) = delete;
    SpeechRecognizer& operator=(const SpeechRecognizer&) = delete;
    virtual ~SpeechRecognizer() = default;

    virtual bool isAvailable() const = 0;

    /// Begins to load what a recognition needs, so that the next one need not wait for it; returns at once.
    /// Nothing when it is loaded. A failure shows at the recognition.
    virtual void prepare() = 0;

    /// Starts recognising a whole file, on this machine only, without partial results; returns at once. The
    /// handler is never called inside this call. Never null.
    virtual std::shared_ptr<SpeechRecognitionTask> recognitionTask(const std::filesystem::path& audioFile,
                                                                   ResultHandler handler) = 0;
};

/// The recogniser service of the system. Any thread.
class SpeechRecognizers {
public:
    SpeechRecognizers() = default;
    SpeechRecognizers(const SpeechRecognizers&) = delete;
    SpeechRecognizers& operator=(const SpeechRecognizers&) = delete;
    virtual ~SpeechRecognizers() = default;

    /// On Linux: authorised when a model is installed, else denied.
    virtual SpeechAuthorization authorizationStatus() = 0;

    /// Asks for the grant; `answer` is called once, on any thread, possibly inside this call.
    virtual void requestAuthorization(std::function<void(SpeechAuthorization)> answer) = 0;

    /// A recogniser for a locale such as "en-US" or "en_AU"; null when there is no model for its language.
    virtual std::shared_ptr<SpeechRecognizer> make(const std::string& localeIdentifier) = 0;
};

} // namespace sonvale::platform
