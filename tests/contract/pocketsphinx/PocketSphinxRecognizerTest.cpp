#include "adapters/pocketsphinx/PocketSphinxRecognizer.h"

#include "adapters/ffmpeg/FfmpegAudioFiles.h"
#include "adapters/pocketsphinx/PocketSphinxDecoder.h"

#include "tests/contract/SpeechRecognizerContract.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Voices.h"

#include <algorithm>
#include <random>

namespace sonvale::tests {

namespace {

using platform::AudioFormat;
using platform::PcmBuffer;
using platform::PcmBufferPtr;

/// One model for all tests of the file, because loading it takes longer than most of them.
class PocketSphinxRecognizer : public testing::Test {
protected:
    static void SetUpTestSuite() {
        recognizers = new adapters::pocketsphinx::PocketSphinxRecognizers(files());
    }
    static void TearDownTestSuite() {
        delete recognizers;
        recognizers = nullptr;
    }

    static adapters::ffmpeg::FfmpegAudioFiles& files() {
        static adapters::ffmpeg::FfmpegAudioFiles instance{ffmpegModule()};
        return instance;
    }

    std::filesystem::path record(const PcmBufferPtr& audio, const std::string& name = "a.m4a") {
        auto path = std::filesystem::path(directory_.path()) / name;
        auto writer = files().create(path, audio->format());
        writer->write(audio);
        writer->close();
        return path;
    }

    static std::shared_ptr<platform::SpeechRecognitionTask> start(const std::filesystem::path& file,
                                                                  AnswerRecord& record) {
        return recognizers->make("en-US")->recognitionTask(file, record.handler());
    }

    std::string recognize(const std::filesystem::path& file) {
        AnswerRecord record;
        const auto task = start(file, record);
        if (!eventually(300, [&] { return !record.isEmpty(); })) {
            task->cancel();
            return "no answer";
        }
        if (const auto error = record.error())
            return error->code == platform::noSpeechErrorCode ? "nothing said"
                                                              : "error: " + error->localizedDescription;
        return record.words().value_or("more than one answer");
    }

    static inline adapters::pocketsphinx::PocketSphinxRecognizers* recognizers = nullptr;
    TemporaryDirectory directory_;
};

/// Returns the pieces in a row.
PcmBufferPtr joined(const std::vector<PcmBufferPtr>& pieces) {
    std::size_t frames = 0;
    for (const auto& piece : pieces)
        frames += piece->frameLength();
    auto result = std::make_shared<PcmBuffer>(pieces.front()->format(), frames);
    for (std::size_t channel = 0; channel < result->format().channelCount; ++channel) {
        auto to = result->channel(channel).begin();
        for (const auto& piece : pieces)
            to = std::ranges::copy(piece->channel(channel), to).out;
    }
    return result;
}

PcmBufferPtr scaled(const PcmBufferPtr& audio, float factor) {
    auto result = std::make_shared<PcmBuffer>(*audio);
    for (std::size_t channel = 0; channel < result->format().channelCount; ++channel) {
        for (float& sample : result->channel(channel))
            sample *= factor;
    }
    return result;
}

PcmBufferPtr noise(const AudioFormat& format, std::size_t frames, float loudness) {
    auto result = std::make_shared<PcmBuffer>(format, frames);
    std::minstd_rand generator(7);
    std::uniform_real_distribution<float> sample(-loudness, loudness);
    for (float& value : result->channel(0))
        value = sample(generator);
    return result;
}

} // namespace

TEST_F(PocketSphinxRecognizer, UnderstandsEveryVoiceThroughARecordingInMonoAndStereo) {
    ASSERT_GE(voices().size(), 20U);
    for (const auto& voice : voices()) {
        for (const std::uint32_t channels : {1U, 2U}) {
            const auto recording = record(files().read(voiceFile(voice.name), {48000, channels}));
            EXPECT_EQ(recognize(recording), voice.sentence) << voice.name << ", channels: " << channels;
            std::filesystem::remove(recording);
        }
    }
}

TEST_F(PocketSphinxRecognizer, UnderstandsAQuietMicrophone) {
    const auto& voice = voices().front();
    const auto quiet = scaled(files().read(voiceFile(voice.name), {48000, 1}), 0.05F);
    EXPECT_EQ(recognize(record(quiet)), voice.sentence);
}

TEST_F(PocketSphinxRecognizer, GivesTheSameWordsAfterAnyEarlierRecording) {
    const auto& voice = voices().front();
    const auto loud = record(files().read(voiceFile(voice.name), {48000, 1}), "loud.m4a");
    const auto disturbed = record(noise({48000, 1}, 480000, 0.8F), "noise.m4a");
    const auto quiet =
        record(scaled(files().read(voiceFile(voices().back().name), {48000, 1}), 0.01F), "quiet.m4a");
    for (const auto& before : {disturbed, quiet, loud}) {
        recognize(before);
        EXPECT_EQ(recognize(loud), voice.sentence);
    }
}

TEST_F(PocketSphinxRecognizer, HearsNothingInSilenceAndNoise) {
    EXPECT_EQ(recognize(record(std::make_shared<PcmBuffer>(AudioFormat{48000, 1}, 0), "none.m4a")),
              "nothing said");
    EXPECT_EQ(recognize(record(std::make_shared<PcmBuffer>(AudioFormat{48000, 1}, 1), "one.m4a")),
              "nothing said");
    EXPECT_EQ(recognize(record(std::make_shared<PcmBuffer>(AudioFormat{48000, 1}, 2000), "short.m4a")),
              "nothing said");
    EXPECT_EQ(recognize(record(std::make_shared<PcmBuffer>(AudioFormat{48000, 2}, 240000), "silence.m4a")),
              "nothing said");
    EXPECT_EQ(recognize(record(noise({48000, 1}, 144000, 0.01F), "noise.m4a")), "nothing said");
}

TEST_F(PocketSphinxRecognizer, UnderstandsARecordingOfSeveralUtterances) {
    std::vector<PcmBufferPtr> pieces;
    std::string words;
    for (int i = 0; i < 8; ++i) {
        const auto& voice = voices()[static_cast<std::size_t>(i) % 3];
        pieces.push_back(files().read(voiceFile(voice.name), {16000, 1}));
        words += (i > 0 ? " " : "") + voice.sentence;
    }
    const auto text = recognize(record(joined(pieces)));
    // A word may suffer where sentences follow each other at once, but no part may be missing.
    const auto count = [](const std::string& line) { return std::ranges::count(line, ' ') + 1; };
    EXPECT_NEAR(static_cast<double>(count(text)), static_cast<double>(count(words)),
                0.1 * static_cast<double>(count(words)))
        << text;
    EXPECT_TRUE(text.starts_with(voices()[0].sentence)) << text;
    EXPECT_TRUE(text.ends_with(voices()[1].sentence)) << text;
}

TEST_F(PocketSphinxRecognizer, EndsALongRecognitionQuicklyAfterACancellation) {
    const auto sentence = files().read(voiceFile(voices().front().name), {16000, 1});
    const auto file = record(joined(std::vector<PcmBufferPtr>(60, sentence)));
    recognize(voiceFile(voices().front().name)); // the model is loaded
    AnswerRecord record;
    const auto task = start(file, record);
    pauseMilliseconds(500);
    ASSERT_TRUE(record.isEmpty());
    const double cancelled = monotonicSeconds();
    task->cancel();
    ASSERT_TRUE(eventually(10, [&] { return !record.isEmpty(); }));
    EXPECT_LT(monotonicSeconds() - cancelled, 5);
    ASSERT_TRUE(record.error().has_value());
    EXPECT_EQ(record.error()->domain, adapters::pocketsphinx::PocketSphinxRecognizers::errorDomain);
    EXPECT_EQ(record.error()->code, 1);

    // The recognizer is free again, and not busy with the rest of three minutes.
    const double next = monotonicSeconds();
    EXPECT_EQ(recognize(voiceFile(voices().front().name)), voices().front().sentence);
    RecordProperty("nextAnswerMilliseconds", static_cast<int>((monotonicSeconds() - next) * 1000));
}

TEST_F(PocketSphinxRecognizer, AnswersOnAThreadOfItsOwn) {
    AnswerRecord record;
    start(voiceFile(voices().front().name), record);
    ASSERT_TRUE(eventually(60, [&] { return !record.isEmpty(); }));
    EXPECT_NE(record.answers()[0].thread, std::this_thread::get_id());
}

TEST_F(PocketSphinxRecognizer, AllowsAHandlerToStartAnotherRecognition) {
    AnswerRecord second;
    std::shared_ptr<platform::SpeechRecognitionTask> first;
    const auto recognizer = recognizers->make("en-US");
    const auto file = voiceFile(voices().front().name);
    first = recognizer->recognitionTask(
        file, [&](const auto*, const auto*) { recognizer->recognitionTask(file, second.handler()); });
    ASSERT_TRUE(eventually(60, [&] { return !second.isEmpty(); }));
    EXPECT_EQ(second.words(), voices().front().sentence);
}

TEST_F(PocketSphinxRecognizer, WritesNothingToTheStandardStreams) {
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    {
        adapters::pocketsphinx::PocketSphinxRecognizers recognizers(files());
        AnswerRecord record;
        recognizers.make("en-US")->recognitionTask(voiceFile(voices().front().name), record.handler());
        EXPECT_TRUE(eventually(60, [&] { return !record.isEmpty(); }));
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(PocketSphinxRecognizer, AnswersUnfinishedRecognitionsWhenItEnds) {
    AnswerRecord running;
    AnswerRecord waiting;
    {
        adapters::pocketsphinx::PocketSphinxRecognizers recognizers(files());
        const auto recognizer = recognizers.make("en-US");
        recognizer->recognitionTask(voiceFile(voices().front().name), running.handler());
        recognizer->recognitionTask(voiceFile(voices().back().name), waiting.handler());
    }
    EXPECT_TRUE(running.error().has_value());
    EXPECT_TRUE(waiting.error().has_value());
}

TEST_F(PocketSphinxRecognizer, IsDeniedWithoutAModel) {
    adapters::pocketsphinx::PocketSphinxRecognizers recognizers(files(), directory_.path());
    EXPECT_EQ(recognizers.authorizationStatus(), platform::SpeechAuthorization::denied);
    EXPECT_EQ(recognizers.make("en-US"), nullptr);
    std::optional<platform::SpeechAuthorization> answer;
    recognizers.requestAuthorization([&](platform::SpeechAuthorization status) { answer = status; });
    EXPECT_EQ(answer, platform::SpeechAuthorization::denied);
}

TEST_F(PocketSphinxRecognizer, AnswersWithAnErrorIfTheModelIsRemoved) {
    const auto model = std::filesystem::path(directory_.path()) / "model";
    std::filesystem::create_directory(model);
    const auto link = model / "en-us";
    const auto installed = adapters::pocketsphinx::PocketSphinxRecognizers::installedModelDirectory();
    std::filesystem::create_directory_symlink(installed / "en-us", link);
    adapters::pocketsphinx::PocketSphinxRecognizers recognizers(files(), model);
    const auto recognizer = recognizers.make("en-US");
    ASSERT_NE(recognizer, nullptr);
    EXPECT_TRUE(recognizer->isAvailable());

    std::filesystem::remove(link);
    EXPECT_FALSE(recognizer->isAvailable());
    AnswerRecord record;
    recognizer->recognitionTask(voiceFile(voices().front().name), record.handler());
    ASSERT_TRUE(eventually(60, [&] { return !record.isEmpty(); }));
    ASSERT_TRUE(record.error().has_value());
    EXPECT_EQ(record.error()->localizedDescription, "The speech model is not installed.");

    std::filesystem::create_directory_symlink(installed / "en-us", link);
    AnswerRecord again;
    recognizer->recognitionTask(voiceFile(voices().front().name), again.handler());
    ASSERT_TRUE(eventually(60, [&] { return !again.isEmpty(); }));
    EXPECT_EQ(again.words(), voices().front().sentence);
}

} // namespace sonvale::tests
