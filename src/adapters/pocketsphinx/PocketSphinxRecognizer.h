#pragma once

#include "platform/AudioFile.h"
#include "platform/SpeechRecognizer.h"

#include <filesystem>
#include <memory>

namespace sonvale::adapters::pocketsphinx {

/// Recognition with PocketSphinx, for the languages whose model is installed: English.
///
/// The first recognition loads the model (0.3 to 1 s, about 100 MB), which is then kept. Files are recognized
/// one after the other on a thread of its own, and the handlers are called on another one. Errors have the
/// domain `errorDomain`, except for the error "no speech".
class PocketSphinxRecognizers final : public platform::SpeechRecognizers {
public:
    static constexpr const char* errorDomain = "com.sonvale.speech";
    enum class ErrorCode { cancelled = 1, unreadableFile = 2, failure = 3 };

    /// Returns the folder into which the system's packages install models.
    static std::filesystem::path installedModelDirectory();

    /// Uses the installed model. `audioFiles` decodes the files; it must outlive this object.
    explicit PocketSphinxRecognizers(platform::AudioFiles& audioFiles);
    PocketSphinxRecognizers(platform::AudioFiles& audioFiles, const std::filesystem::path& modelDirectory);

    /// Cancels the running recognitions and waits for them for up to 2 s; their handlers are called
    /// meanwhile. Recognizers that this object has made must not be used afterwards.
    ~PocketSphinxRecognizers() override;

    platform::SpeechAuthorization authorizationStatus() override;
    void requestAuthorization(std::function<void(platform::SpeechAuthorization)> answer) override;
    std::shared_ptr<platform::SpeechRecognizer> make(const std::string& localeIdentifier) override;

private:
    class Service;
    class Recognition;
    class Recognizer;

    std::shared_ptr<Service> service_;
};

} // namespace sonvale::adapters::pocketsphinx
