#include "adapters/ffmpeg/FfmpegAudioFiles.h"
#include "adapters/pocketsphinx/PocketSphinxDecoder.h"
#include "adapters/pocketsphinx/PocketSphinxRecognizer.h"
#include "bench/Rounds.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/FfmpegModule.h"
#include "tests/support/Voices.h"

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <limits>
#include <stdexcept>

namespace sonvale::adapters::pocketsphinx {

namespace {

/// Returns processor time, because the comparison must be valid on a busy machine.
double ownSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

double childrenSeconds() {
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double residentMegabytes() {
    std::ifstream statistics("/proc/self/statm");
    double pages = 0;
    statistics >> pages >> pages;
    return pages * 4096 / 1e6;
}

/// Recordings of several sentences in one file, and a file that is almost empty.
class Recordings {
public:
    Recordings() {
        std::vector<std::string> command{"sox"};
        for (const auto& voice : tests::voices())
            command.push_back(tests::voiceFile(voice.name));
        command.insert(command.end(), {"-r", "16000", "-c", "1", "-b", "16", spoken()});
        if (tests::run(command) != 0 ||
            tests::run({"sox", "-n", "-r", "16000", "-c", "1", "-b", "16", empty(), "trim", "0", "0.1"}) != 0)
            throw std::runtime_error("sox failed");
    }

    std::string spoken() const { return directory_.path() + "/spoken.wav"; }
    std::string empty() const { return directory_.path() + "/empty.wav"; }

private:
    tests::TemporaryDirectory directory_;
};

double secondsOfContinuous(const PocketSphinxModel& model, const std::string& file) {
    const double before = childrenSeconds();
    if (tests::run({"pocketsphinx_continuous", "-infile", file, "-hmm", model.acousticModel, "-lm",
                    model.languageModel, "-dict", model.dictionary}) != 0)
        throw std::runtime_error("pocketsphinx_continuous failed");
    return childrenSeconds() - before;
}

/// Recognizes the same file in turn by our recognizer and by PocketSphinx's own program, without its loading
/// of the model. Reports real-time factors in processor time of the fastest runs, because other work on the
/// machine only adds time. The ratio is our time to its time.
void recognizerAgainstPocketSphinx(benchmark::State& state) {
    const Recordings recordings;
    const auto model = PocketSphinxModel::english(PocketSphinxRecognizers::installedModelDirectory());
    ffmpeg::FfmpegAudioFiles files{tests::ffmpegModule()};
    const std::atomic<bool> isCancelled = false;
    const double residentBefore = residentMegabytes();
    PocketSphinxDecoder decoder(model);
    const double residentAfter = residentMegabytes();

    double ours = std::numeric_limits<double>::max();
    double theirs = ours;
    double loading = ours;
    double audio = 0;
    for (auto _ : state) {
        const double before = ownSeconds();
        const auto samples = files.read(recordings.spoken(), {PocketSphinxDecoder::sampleRate, 1});
        benchmark::DoNotOptimize(decoder.transcribe(samples->channel(0), isCancelled));
        const double spent = ownSeconds() - before;
        state.SetIterationTime(spent);
        ours = std::min(ours, spent);
        theirs = std::min(theirs, secondsOfContinuous(model, recordings.spoken()));
        loading = std::min(loading, secondsOfContinuous(model, recordings.empty()));
        audio = static_cast<double>(samples->frameLength()) / PocketSphinxDecoder::sampleRate;
    }
    theirs -= loading;
    state.counters["realTimeFactor"] = ours / audio;
    state.counters["realTimeFactorOfContinuous"] = theirs / audio;
    state.counters["ratio"] = ours / theirs;
    state.counters["residentBeforeMB"] = residentBefore;
    state.counters["residentAfterMB"] = residentAfter;
}
BENCHMARK(recognizerAgainstPocketSphinx)
    ->UseManualTime()
    ->Iterations(bench::rounds(5))
    ->Unit(benchmark::kMillisecond);

/// Measures a step that key down waits for.
void recordingFileIsMade(benchmark::State& state) {
    const tests::TemporaryDirectory directory;
    ffmpeg::FfmpegAudioFiles files{tests::ffmpegModule()};
    const auto path = std::filesystem::path(directory.path()) / "a.m4a";
    for (auto _ : state) {
        auto writer = files.create(path, {48000, 2});
        benchmark::DoNotOptimize(writer);
        state.PauseTiming();
        writer.reset();
        std::filesystem::remove(path);
        state.ResumeTiming();
    }
}
BENCHMARK(recordingFileIsMade)->Unit(benchmark::kMicrosecond);

/// Measures a step that the text waits for after key up: encoding the rest of a 4 s dictation, and closing
/// the container.
void recordingIsClosed(benchmark::State& state) {
    const tests::TemporaryDirectory directory;
    ffmpeg::FfmpegAudioFiles files{tests::ffmpegModule()};
    const platform::AudioFormat format{48000, 2};
    const auto path = std::filesystem::path(directory.path()) / "a.m4a";
    const auto audio = files.read(tests::voiceFile(tests::voices().front().name), format);
    for (auto _ : state) {
        state.PauseTiming();
        auto writer = files.create(path, format);
        writer->write(audio);
        tests::pauseMilliseconds(500);
        writer->write(std::make_shared<platform::PcmBuffer>(format, 1024));
        state.ResumeTiming();
        writer->close();
        state.PauseTiming();
        writer.reset();
        std::filesystem::remove(path);
        state.ResumeTiming();
    }
}
BENCHMARK(recordingIsClosed)->Iterations(bench::rounds(10))->UseRealTime()->Unit(benchmark::kMicrosecond);

/// Measures the first step of the recognizer's thread: reading a 4 s recording as samples.
void recordingIsRead(benchmark::State& state) {
    const tests::TemporaryDirectory directory;
    ffmpeg::FfmpegAudioFiles files{tests::ffmpegModule()};
    const platform::AudioFormat format{48000, 2};
    const auto path = std::filesystem::path(directory.path()) / "a.m4a";
    auto writer = files.create(path, format);
    writer->write(files.read(tests::voiceFile(tests::voices().front().name), format));
    writer->close();
    for (auto _ : state)
        benchmark::DoNotOptimize(files.read(path, {PocketSphinxDecoder::sampleRate, 1}));
}
BENCHMARK(recordingIsRead)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace sonvale::adapters::pocketsphinx
