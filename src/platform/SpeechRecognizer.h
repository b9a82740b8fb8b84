#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sonvale::platform {

/// The raw values are given by the system's own interface.
enum class SpeechAuthorization { notDetermined = 0, denied = 1, restricted = 2, authorized = 3 };

struct SpeechRecognitionError {
    std::string domain;
    int code = 0;
    std::string localizedDescription;
};

/// Domain and code of the error "no speech was heard".
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
    /// Does not end the recognition.
    virtual ~SpeechRecognitionTask() = default;

    /// Ends the recognition in well under a second; the handler then gets an error. Does nothing if it has
    /// ended.
    virtual void cancel() = 0;
};

/// Recognizes one language on this machine. Any thread.
class SpeechRecognizer {
public:
    /// Called on a thread that the recognizer chooses, possibly several times. The last call has a final
    /// result or an error.
    using ResultHandler =
        std::function<void(const SpeechRecognitionResult* result, const SpeechRecognitionError* error)>;

    SpeechRecognizer() = default;
    SpeechRecognizer(const SpeechRecognizer&) = delete;
    SpeechRecognizer& operator=(const SpeechRecognizer&) = delete;
    virtual ~SpeechRecognizer() = default;

    virtual bool isAvailable() const = 0;

    /// Starts to load what a recognition needs, so that the next one does not wait for it. Returns at once.
    /// Does nothing if it is loaded. A failure shows at the recognition.
    virtual void prepare() = 0;

    /// Starts to recognize a whole file, on this machine only, without partial results. Returns at once, and
    /// never null. The handler is never called inside this call.
    virtual std::shared_ptr<SpeechRecognitionTask> recognitionTask(const std::filesystem::path& audioFile,
                                                                   ResultHandler handler) = 0;
};

/// The recognition service of the system. Any thread.
class SpeechRecognizers {
public:
    SpeechRecognizers() = default;
    SpeechRecognizers(const SpeechRecognizers&) = delete;
    SpeechRecognizers& operator=(const SpeechRecognizers&) = delete;
    virtual ~SpeechRecognizers() = default;

    /// Returns the permission. On Linux it is authorized if a model is installed, else denied.
    virtual SpeechAuthorization authorizationStatus() = 0;

    /// Asks for the permission. `answer` is called once, on any thread, possibly inside this call.
    virtual void requestAuthorization(std::function<void(SpeechAuthorization)> answer) = 0;

    /// Returns a recognizer for a locale such as "en-US" or "en_AU", or null if there is no model for its
    /// language.
    virtual std::shared_ptr<SpeechRecognizer> make(const std::string& localeIdentifier) = 0;
};

} // namespace sonvale::platform
