#include "adapters/ffmpeg/FfmpegAudioFiles.h"
#include "adapters/pocketsphinx/PocketSphinxRecognizer.h"

#include "tests/contract/SpeechRecognizerContract.h"
#include "tests/fakes/FakeSpeechRecognizers.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Voices.h"

#include <fstream>

namespace sonvale::tests {

namespace {

class FakeEnvironment {
public:
    FakeEnvironment() {
        recognizers_.control().setWords(sentence(), words());
        recognizers_.control().setWords(silence(), "");
    }

    platform::SpeechRecognizers& recognizers() { return recognizers_; }
    std::filesystem::path sentence() const { return "/sentence.m4a"; }
    std::string words() const { return "this is a sentence"; }
    std::filesystem::path silence() const { return "/silence.m4a"; }
    std::filesystem::path garbage() const { return "/garbage.m4a"; }
    void settle() { recognizers_.control().answerWaiting(); }

private:
    FakeSpeechRecognizers recognizers_;
};

class PocketSphinxEnvironment {
public:
    PocketSphinxEnvironment() {
        const platform::AudioFormat format{16000, 1};
        const auto writer = files_.create(silence(), format);
        writer->write(std::make_shared<platform::PcmBuffer>(format, 32000));
        writer->close();
        std::ofstream(garbage()) << std::string(5000, 'x');
    }

    platform::SpeechRecognizers& recognizers() { return recognizers_; }
    std::filesystem::path sentence() const { return voiceFile(voices().front().name); }
    std::string words() const { return voices().front().sentence; }
    std::filesystem::path silence() const { return folder() / "silence.m4a"; }
    std::filesystem::path garbage() const { return folder() / "garbage.m4a"; }
    void settle() {}

private:
    std::filesystem::path folder() const { return directory_.path(); }

    TemporaryDirectory directory_;
    adapters::ffmpeg::FfmpegAudioFiles files_{ffmpegModule()};
    adapters::pocketsphinx::PocketSphinxRecognizers recognizers_{files_};
};

using Environments = testing::Types<FakeEnvironment, PocketSphinxEnvironment>;

} // namespace

INSTANTIATE_TYPED_TEST_SUITE_P(Recognizers, SpeechRecognizerContract, Environments);

} // namespace sonvale::tests
