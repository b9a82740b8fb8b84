#pragma once

#include "platform/AudioFile.h"
#include "platform/SpeechRecognizer.h"

#include <filesystem>
#include <memory>

namespace sonvale::adapters::pocketsphinx {

/// Recognition by PocketSphinx, for the languages whose model is installed: English.
///
/// The model is loaded when the first file is recognised (0.3 to 1 s, about 100 MB) and kept. Files are
/// recognised one after the other on a thread of its own, and the handlers called on another one. Their
/// errors have the domain `errorDomain`, apart from that of silence.
class PocketSphinxRecognizers final : public platform::SpeechRecognizers {
public:
    static constexpr const char* errorDomain = "com.sonvale.speech";
    enum class ErrorCode { cancelled = 1, unreadableFile = 2, failure = 3 };

    /// Where the system's packages install models.
    static std::filesystem::path installedModelDirectory();

    /// Takes the installed model. `audioFiles` decodes; it must outlive this.
    explicit PocketSphinxRecognizers(platform::AudioFiles& audioFiles);
    PocketSphinxRecognizers(platform::AudioFiles& audioFiles, const std::filesystem::path& modelDirectory);

    /// Cancels what runs and waits for it: 2 s at most, while the handlers are called. What this made must
    /// not be asked any more afterwards.
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
