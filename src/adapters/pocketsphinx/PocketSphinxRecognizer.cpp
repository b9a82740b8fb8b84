#include "adapters/pocketsphinx/PocketSphinxRecognizer.h"

#include "adapters/pocketsphinx/PocketSphinxDecoder.h"
#include "adapters/posix/SerialThread.h"

#include <atomic>
#include <mutex>
#include <utility>
#include <variant>
#include <vector>

namespace sonvale::adapters::pocketsphinx {

namespace {

using ErrorCode = PocketSphinxRecognizers::ErrorCode;

platform::SpeechRecognitionError errorOf(ErrorCode code, std::string description) {
    return {PocketSphinxRecognizers::errorDomain, static_cast<int>(code), std::move(description)};
}

bool isEnglish(const std::string& localeIdentifier) {
    const auto language = localeIdentifier.substr(0, localeIdentifier.find_first_of("-_"));
    return language == "en" || language == "EN";
}

} // namespace

/// The recognition of one file.
class PocketSphinxRecognizers::Recognition final : public platform::SpeechRecognitionTask {
public:
    Recognition(std::weak_ptr<Service> service, std::filesystem::path file,
                platform::SpeechRecognizer::ResultHandler handler)
        : audioFile(std::move(file))
        , service_(std::move(service))
        , handler_(std::move(handler)) {}

    void cancel() override;

    /// Returns the handler to the first caller, and an empty one to all others.
    platform::SpeechRecognizer::ResultHandler claimHandler() {
        if (isAnswered_.exchange(true))
            return nullptr;
        return std::exchange(handler_, nullptr);
    }

    const std::filesystem::path audioFile;
    std::atomic<bool> isCancelled = false;

private:
    const std::weak_ptr<Service> service_;
    platform::SpeechRecognizer::ResultHandler handler_;
    std::atomic<bool> isAnswered_ = false;
};

/// The model and its threads.
class PocketSphinxRecognizers::Service {
public:
    Service(platform::AudioFiles& audioFiles, PocketSphinxModel model)
        : audioFiles_(audioFiles)
        , model_(std::move(model)) {}

    bool isInstalled() const { return model_.isInstalled(); }

    void prepare() {
        decoding_.post([this] {
            try {
                loadModel();
            } catch (const std::exception&) {
                // The following recognition tries again and reports the failure.
            }
        });
    }

    void start(const std::shared_ptr<Recognition>& recognition) {
        {
            const std::lock_guard lock(mutex_);
            std::erase_if(recognitions_, [](const auto& weak) { return weak.expired(); });
            recognitions_.push_back(recognition);
        }
        decoding_.post([this, recognition] { recognize(*recognition); });
    }

    void answer(Recognition& recognition,
                std::variant<platform::SpeechRecognitionResult, platform::SpeechRecognitionError> answer) {
        auto handler = recognition.claimHandler();
        if (!handler)
            return;
        answers_.post([handler = std::move(handler), answer = std::move(answer)] {
            handler(std::get_if<platform::SpeechRecognitionResult>(&answer),
                    std::get_if<platform::SpeechRecognitionError>(&answer));
        });
    }

    void end() {
        std::vector<std::weak_ptr<Recognition>> recognitions;
        {
            const std::lock_guard lock(mutex_);
            recognitions.swap(recognitions_);
        }
        for (const auto& weak : recognitions) {
            if (const auto recognition = weak.lock())
                recognition->cancel();
        }
        decoding_.end();
        answers_.end();
    }

private:
    void recognize(Recognition& recognition) {
        if (recognition.isCancelled)
            return;
        try {
            auto text = transcribe(recognition);
            if (text.empty())
                answer(recognition,
                       platform::SpeechRecognitionError{platform::assistantErrorDomain,
                                                        platform::noSpeechErrorCode, "No speech was heard."});
            else
                answer(recognition, platform::SpeechRecognitionResult{std::move(text), true});
        } catch (const platform::AudioFileError& error) {
            answer(recognition, errorOf(ErrorCode::unreadableFile, error.what()));
        } catch (const std::exception& error) {
            answer(recognition, errorOf(ErrorCode::failure, error.what()));
        }
    }

    std::string transcribe(const Recognition& recognition) {
        const auto audio = audioFiles_.read(recognition.audioFile, {PocketSphinxDecoder::sampleRate, 1});
        loadModel();
        auto text = decoder_->transcribe(audio->channel(0), recognition.isCancelled);
        audio->wipe();
        return text;
    }

    void loadModel() {
        if (!decoder_)
            decoder_ = std::make_unique<PocketSphinxDecoder>(model_);
    }

    platform::AudioFiles& audioFiles_;
    const PocketSphinxModel model_;

    std::mutex mutex_;
    std::vector<std::weak_ptr<Recognition>> recognitions_; ///< guarded by `mutex_`

    std::unique_ptr<PocketSphinxDecoder> decoder_; ///< used on `decoding_` only
    posix::SerialThread decoding_{"recogniser"};
    /// Separate from the decoding, whose last step for an utterance cannot be interrupted, so that a
    /// cancellation is answered meanwhile.
    posix::SerialThread answers_{"recognised"};
};

void PocketSphinxRecognizers::Recognition::cancel() {
    isCancelled = true;
    if (const auto service = service_.lock())
        service->answer(*this, errorOf(ErrorCode::cancelled, "The recognition was cancelled."));
}

class PocketSphinxRecognizers::Recognizer final : public platform::SpeechRecognizer {
public:
    explicit Recognizer(std::shared_ptr<Service> service)
        : service_(std::move(service)) {}

    bool isAvailable() const override { return service_->isInstalled(); }

    void prepare() override { service_->prepare(); }

    std::shared_ptr<platform::SpeechRecognitionTask> recognitionTask(const std::filesystem::path& audioFile,
                                                                     ResultHandler handler) override {
        auto recognition = std::make_shared<Recognition>(service_, audioFile, std::move(handler));
        service_->start(recognition);
        return recognition;
    }

private:
    const std::shared_ptr<Service> service_;
};

std::filesystem::path PocketSphinxRecognizers::installedModelDirectory() {
    return SONVALE_POCKETSPHINX_MODEL_DIR;
}

PocketSphinxRecognizers::PocketSphinxRecognizers(platform::AudioFiles& audioFiles)
    : PocketSphinxRecognizers(audioFiles, installedModelDirectory()) {}

PocketSphinxRecognizers::PocketSphinxRecognizers(platform::AudioFiles& audioFiles,
                                                 const std::filesystem::path& modelDirectory)
    : service_(std::make_shared<Service>(audioFiles, PocketSphinxModel::english(modelDirectory))) {}

PocketSphinxRecognizers::~PocketSphinxRecognizers() {
    service_->end();
}

platform::SpeechAuthorization PocketSphinxRecognizers::authorizationStatus() {
    return service_->isInstalled() ? platform::SpeechAuthorization::authorized
                                   : platform::SpeechAuthorization::denied;
}

void PocketSphinxRecognizers::requestAuthorization(
    std::function<void(platform::SpeechAuthorization)> answer) {
    answer(authorizationStatus());
}

std::shared_ptr<platform::SpeechRecognizer>
PocketSphinxRecognizers::make(const std::string& localeIdentifier) {
    if (!isEnglish(localeIdentifier) || !service_->isInstalled())
        return nullptr;
    return std::make_shared<Recognizer>(service_);
}

} // namespace sonvale::adapters::pocketsphinx
