#include "audio/AudioRecorder.h"

#include "audio/AudioRecorderError.h"
#include "tests/fakes/FakeAudioEngine.h"
#include "tests/fakes/FakeAudioFiles.h"
#include "tests/fakes/FakeSecureRandom.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <optional>
#include <regex>
#include <thread>

namespace sonvale::audio {

namespace {

using Path = std::filesystem::path;

class AudioRecorderTest : public testing::Test {
protected:
    ~AudioRecorderTest() override {
        if (recorder)
            onMain([&] { recorder.reset(); });
    }

    /// Runs `work` on the main actor, and then everything that is ready.
    template <class Work>
    std::invoke_result_t<Work> onMain(Work work) {
        using Result = std::invoke_result_t<Work>;
        std::optional<std::conditional_t<std::is_void_v<Result>, bool, Result>> result;
        std::exception_ptr error;
        runtime.main().post([&] {
            try {
                if constexpr (std::is_void_v<Result>)
                    work();
                else
                    result = work();
            } catch (...) {
                error = std::current_exception();
            }
        });
        runtime.runUntilIdle();
        if (error)
            std::rethrow_exception(error);
        if constexpr (!std::is_void_v<Result>)
            return *result;
    }

    void start() {
        onMain([&] { recorder->startRecording(); });
    }
    std::optional<Path> stop() {
        return onMain([&] { return recorder->stopRecording(); });
    }
    void cleanUp() {
        onMain([&] { recorder->cleanupRecording(); });
    }
    std::optional<Path> closeSegment() {
        return onMain([&] { return recorder->closeSegment(); });
    }
    void openSegment() {
        onMain([&] { recorder->openSegment(); });
    }

    /// Delivers a full buffer of one value on the capture thread.
    platform::PcmBufferPtr deliver(float value, std::size_t frames = 1024) {
        auto buffer = std::make_shared<platform::PcmBuffer>(platform::AudioFormat{48000, 1}, frames);
        std::ranges::fill(buffer->channel(0), value);
        microphone.deliver(buffer);
        return buffer;
    }

    static bool isZero(const platform::PcmBuffer& buffer) {
        for (std::size_t channel = 0; channel < buffer.format().channelCount; ++channel) {
            if (!std::ranges::all_of(buffer.channel(channel), [](float sample) { return sample == 0; }))
                return false;
        }
        return true;
    }

    /// Returns the values of "durationSeconds" of all `recordingStopped` lines.
    std::vector<std::string> reportedSeconds() {
        runtime.runUntilIdle();
        std::vector<std::string> seconds;
        std::ifstream log(directory.path() + "/com.sonvale.app/audit.log");
        for (std::string line; std::getline(log, line);) {
            const auto entry = nlohmann::json::parse(line);
            EXPECT_EQ(entry.at("eventType"), "recordingStopped");
            seconds.push_back(entry.at("metadata").at("durationSeconds"));
        }
        return seconds;
    }

    Path onlyFile() const {
        const auto paths = files.created();
        EXPECT_EQ(paths.size(), 1U);
        return paths.at(0);
    }

    bool isCapturing() const { return recorder->audioEngine() != nullptr; }

    tests::TemporaryDirectory directory;
    tests::TestRuntime runtime;
    tests::FakeAudioEngines engines;
    tests::FakeMicrophone& microphone = engines.control();
    tests::FakeAudioFiles audioFiles;
    tests::FakeAudioFiles::Control& files = audioFiles.control();
    tests::FakeSecureRandom random;
    persistence::AuditLogger auditLogger{runtime.makeSerialActor("audit"), runtime.clock(), directory.path()};
    std::shared_ptr<AudioRecorder> recorder = std::make_shared<AudioRecorder>(
        runtime.main(), runtime.clock(), engines, audioFiles, random, directory.path(), auditLogger);
};

} // namespace

TEST_F(AudioRecorderTest, IsIdleAtFirst) {
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_EQ(recorder->audioLevel.get(), 0);
    EXPECT_FALSE(isCapturing());
    EXPECT_EQ(microphone.madeCount(), 0);
}

TEST_F(AudioRecorderTest, StartsACaptureAndAFileInTheDevicesFormat) {
    microphone.setFormat({44100, 2});
    start();
    EXPECT_TRUE(recorder->isRecording.get());
    ASSERT_TRUE(isCapturing());
    EXPECT_TRUE(recorder->audioEngine()->isRunning());
    EXPECT_EQ(microphone.calls(), (std::vector<std::string>{"make", "installTap", "start"}));
    EXPECT_EQ(files.format(onlyFile()), (platform::AudioFormat{44100, 2}));
}

TEST_F(AudioRecorderTest, NamesEachFileByANewIdentifierInUpperCase) {
    start();
    start();
    const auto paths = files.created();
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_NE(paths[0], paths[1]);
    const std::regex form("sonvale_[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\.m4a");
    for (const auto& path : paths) {
        EXPECT_EQ(path.parent_path(), directory.path());
        EXPECT_TRUE(std::regex_match(path.filename().string(), form)) << path;
    }
}

TEST_F(AudioRecorderTest, RefusesToStartWithoutAnInputBeforeAnyFileIsMade) {
    microphone.setFormat({});
    try {
        start();
        FAIL();
    } catch (const AudioRecorderError& error) {
        EXPECT_EQ(error.errorCase(), AudioRecorderError::Case::noInputAvailable);
        EXPECT_EQ(error.errorDescription(),
                  "No audio input device is available. Please connect a microphone and try again.");
        EXPECT_EQ(error.errorDescription(), error.what());
    }
    EXPECT_TRUE(files.created().empty());
    EXPECT_FALSE(isCapturing());
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_EQ(runtime.clock().pending(), 0U);
}

TEST_F(AudioRecorderTest, ThrowsTheErrorOfAFileThatCannotBeMade) {
    files.failCreating("disk full");
    try {
        start();
        FAIL();
    } catch (const platform::AudioFileError& error) {
        EXPECT_STREQ(error.what(), "disk full");
    }
    EXPECT_FALSE(isCapturing());
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_EQ(microphone.calls(), (std::vector<std::string>{"make", "destroy"}));
}

TEST_F(AudioRecorderTest, ThrowsTheErrorOfACaptureThatDoesNotStartAndLeavesNoFile) {
    int changes = 0;
    const auto recording = recorder->isRecording.subscribe([&](bool) { ++changes; });
    const auto level = recorder->audioLevel.subscribe([&](float) { ++changes; });
    microphone.failNextStart("no permission");
    microphone.speakDuringNextStart(std::vector<float>(2000, 0.5F));
    try {
        start();
        FAIL();
    } catch (const platform::AudioEngineError& error) {
        EXPECT_STREQ(error.what(), "no permission");
    }
    EXPECT_EQ(changes, 0);
    EXPECT_FALSE(isCapturing());
    const auto path = onlyFile();
    EXPECT_TRUE(files.isClosed(path));
    EXPECT_FALSE(std::filesystem::exists(path));
    ASSERT_EQ(files.written(path).size(), 1U);
    EXPECT_TRUE(isZero(*files.written(path)[0]));
    EXPECT_EQ(runtime.clock().pending(), 0U);
    EXPECT_EQ(stop(), std::nullopt);

    start();
    EXPECT_TRUE(recorder->isRecording.get());
}

TEST_F(AudioRecorderTest, KeepsBuffersThatArriveWhileTheCaptureStarts) {
    microphone.speakDuringNextStart(std::vector<float>(1024, 0.5F));
    start();
    EXPECT_EQ(files.samples(onlyFile()).size(), 1024U);
    EXPECT_FLOAT_EQ(recorder->audioLevel.get(), 0.5F);
}

TEST_F(AudioRecorderTest, StopsARunningCaptureBeforeItStartsAnother) {
    start();
    deliver(0.5F);
    start();
    const auto paths = files.created();
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_TRUE(files.isClosed(paths[0]));
    EXPECT_TRUE(std::filesystem::exists(paths[0]));
    EXPECT_EQ(stop(), paths[1]);
    cleanUp();
    EXPECT_TRUE(std::filesystem::exists(paths[0]));
    EXPECT_EQ(reportedSeconds().size(), 1U);
}

TEST_F(AudioRecorderTest, WritesABufferBeforeTheConsumerGetsIt) {
    std::vector<std::size_t> writtenBefore;
    std::vector<platform::PcmBufferPtr> heard;
    start();
    onMain([&] {
        recorder->setOnBuffer([&](const platform::PcmBufferPtr& buffer) {
            heard.push_back(buffer);
            writtenBefore.push_back(files.written(onlyFile()).size());
        });
    });
    const auto first = deliver(0.25F);
    const auto second = deliver(0.5F, 300);
    EXPECT_EQ(heard, (std::vector{first, second}));
    EXPECT_EQ(writtenBefore, (std::vector<std::size_t>{1, 2}));
    EXPECT_EQ(files.written(onlyFile()), (std::vector{first, second}));
}

TEST_F(AudioRecorderTest, StoresTheLevelInATaskOfTheMainActor) {
    start();
    std::vector<float> levels;
    const auto subscription = recorder->audioLevel.subscribe([&](float level) { levels.push_back(level); });
    deliver(0.25F);
    deliver(-0.5F);
    EXPECT_TRUE(levels.empty());
    runtime.runUntilIdle();
    EXPECT_EQ(levels, (std::vector{0.25F, 0.5F}));
}

TEST_F(AudioRecorderTest, RecordsInStereoAndMeasuresTheFirstChannel) {
    microphone.setFormat({48000, 2});
    start();
    auto buffer = std::make_shared<platform::PcmBuffer>(platform::AudioFormat{48000, 2}, 1024);
    std::ranges::fill(buffer->channel(0), 0.5F);
    std::ranges::fill(buffer->channel(1), 1.0F);
    microphone.deliver(buffer);
    runtime.runUntilIdle();
    EXPECT_FLOAT_EQ(recorder->audioLevel.get(), 0.5F);
    EXPECT_EQ(files.samples(onlyFile(), 0), std::vector<float>(1024, 0.5F));
    EXPECT_EQ(files.samples(onlyFile(), 1), std::vector<float>(1024, 1.0F));
}

TEST_F(AudioRecorderTest, ContinuesIfWritingFails) {
    int heard = 0;
    start();
    onMain([&] { recorder->setOnBuffer([&](const platform::PcmBufferPtr&) { ++heard; }); });
    files.failWriting("disk full");
    const auto lost = deliver(0.5F);
    runtime.runUntilIdle();
    EXPECT_EQ(heard, 1);
    EXPECT_FLOAT_EQ(recorder->audioLevel.get(), 0.5F);
    files.failWriting(std::nullopt);
    deliver(0.25F);
    EXPECT_EQ(stop(), onlyFile());
    EXPECT_EQ(files.samples(onlyFile()), std::vector<float>(1024, 0.25F));
    cleanUp();
    EXPECT_TRUE(isZero(*lost));
}

TEST_F(AudioRecorderTest, AllowsEveryOperationWhileBuffersArrive) {
    std::atomic<bool> isOver = false;
    start();
    std::thread captureThread([&] {
        while (!isOver)
            deliver(0.5F, 16);
    });
    for (int round = 0; round < 100; ++round) {
        const auto heard = std::make_shared<std::atomic<int>>(0);
        onMain([&] { recorder->setOnBuffer([heard](const platform::PcmBufferPtr&) { ++*heard; }); });
        while (*heard < 3)
            std::this_thread::yield();
        closeSegment();
        cleanUp();
        // The capture thread may still be inside the consumer, but it does not call it again.
        const int atTheEnd = *heard;
        openSegment();
        EXPECT_LE(*heard, atTheEnd + 1);
    }
    const auto path = stop();
    cleanUp();
    isOver = true;
    captureThread.join();
    runtime.runUntilIdle();
    EXPECT_TRUE(files.isClosed(path.value()));
    EXPECT_EQ(files.created().size(), 101U);
    int heard = 0;
    EXPECT_EQ(recorder->audioLevel.get(), 0);

    start();
    onMain([&] { recorder->setOnBuffer([&](const platform::PcmBufferPtr&) { heard = -1; }); });
    deliver(0.5F);
    EXPECT_EQ(heard, -1);
}

TEST_F(AudioRecorderTest, StopClosesTheFileAndReturnsIt) {
    start();
    deliver(0.5F);
    const auto path = stop();
    EXPECT_EQ(path, onlyFile());
    EXPECT_TRUE(files.isClosed(onlyFile()));
    EXPECT_TRUE(std::filesystem::exists(onlyFile()));
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_FALSE(isCapturing());
    EXPECT_EQ(recorder->audioLevel.get(), 0);
    EXPECT_EQ(microphone.calls(), (std::vector<std::string>{"make", "installTap", "start", "drain",
                                                            "removeTap", "stop", "destroy"}));
}

TEST_F(AudioRecorderTest, DrainDeliversTheDevicesSamplesAndContinues) {
    std::vector<float> heard;
    start();
    onMain([&] {
        recorder->setOnBuffer([&](const platform::PcmBufferPtr& buffer) {
            const auto samples = buffer->channel(0);
            heard.insert(heard.end(), samples.begin(), samples.end());
        });
    });
    microphone.speak(std::vector<float>(700, 0.25F));
    microphone.speakIntoDevice(std::vector<float>(800, 0.5F));
    EXPECT_TRUE(heard.empty());
    onMain([&] { recorder->drain(); });
    auto expected = std::vector<float>(700, 0.25F);
    expected.resize(1500, 0.5F);
    EXPECT_EQ(heard, expected);
    EXPECT_EQ(files.samples(onlyFile()), expected);
    EXPECT_TRUE(recorder->isRecording.get());

    microphone.speak(std::vector<float>(1024, 1));
    expected.resize(2524, 1);
    EXPECT_EQ(heard, expected);
    EXPECT_EQ(files.samples(stop().value()), expected);
    onMain([&] { recorder->drain(); });
    EXPECT_EQ(heard, expected);
}

TEST_F(AudioRecorderTest, StopDoesNotWaitForTheTailOfAFileThatIsNotRead) {
    start();
    microphone.speakIntoDevice(std::vector<float>(1500, 0.5F));
    const auto path = onMain([&] { return recorder->stopRecording(AudioRecorder::Tail::drop); });
    EXPECT_EQ(files.samples(path.value()), std::vector<float>());
    EXPECT_EQ(microphone.calls(),
              (std::vector<std::string>{"make", "installTap", "start", "removeTap", "stop", "destroy"}));
}

TEST_F(AudioRecorderTest, StopKeepsEverythingThatWasSpoken) {
    start();
    microphone.speak(std::vector<float>(1500, 0.5F));
    microphone.speakIntoDevice(std::vector<float>(300, 0.5F));
    const auto path = stop();
    EXPECT_EQ(files.samples(path.value()), std::vector<float>(1800, 0.5F));
    EXPECT_EQ(recorder->audioLevel.get(), 0) << "the last buffer's level must not stay behind";
}

TEST_F(AudioRecorderTest, StopReportsTheElapsedSeconds) {
    start();
    runtime.clock().advance(2.504);
    stop();
    EXPECT_EQ(reportedSeconds(), std::vector<std::string>{"2.50"});
}

TEST_F(AudioRecorderTest, StopRemovesTheConsumer) {
    int heard = 0;
    start();
    onMain([&] { recorder->setOnBuffer([&](const platform::PcmBufferPtr&) { ++heard; }); });
    stop();
    EXPECT_FALSE(onMain([&] { return static_cast<bool>(recorder->onBuffer()); }));
    start();
    deliver(0.5F);
    EXPECT_EQ(heard, 0);
}

TEST_F(AudioRecorderTest, UsesAConsumerThatWasSetBeforeTheStart) {
    int heard = 0;
    onMain([&] { recorder->setOnBuffer([&](const platform::PcmBufferPtr&) { ++heard; }); });
    EXPECT_TRUE(onMain([&] { return static_cast<bool>(recorder->onBuffer()); }));
    start();
    deliver(0.5F);
    EXPECT_EQ(heard, 1);
}

TEST_F(AudioRecorderTest, StopWithoutACaptureReturnsAndReportsNothing) {
    EXPECT_EQ(stop(), std::nullopt);
    start();
    EXPECT_NE(stop(), std::nullopt);
    EXPECT_EQ(stop(), std::nullopt);
    EXPECT_EQ(reportedSeconds().size(), 1U);
}

TEST_F(AudioRecorderTest, StopReturnsTheFileEvenIfClosingItFails) {
    start();
    files.failClosing("disk full");
    EXPECT_EQ(stop(), onlyFile());
    EXPECT_EQ(reportedSeconds().size(), 1U);
}

TEST_F(AudioRecorderTest, ReturnsCapturedAudioIfTheDeviceIsUnplugged) {
    start();
    microphone.speak(std::vector<float>(1500, 0.5F));
    microphone.unplug();
    runtime.runUntilIdle();
    EXPECT_TRUE(recorder->isRecording.get());
    EXPECT_FALSE(recorder->audioEngine()->isRunning());
    runtime.clock().advance(3);
    const auto path = stop();
    EXPECT_EQ(files.samples(path.value()), std::vector<float>(1500, 0.5F));
    EXPECT_EQ(reportedSeconds(), std::vector<std::string>{"3.00"});
}

TEST_F(AudioRecorderTest, ForceStopForgetsTheRecordingAndKeepsItsFile) {
    start();
    onMain([&] { recorder->setOnBuffer([](const platform::PcmBufferPtr&) {}); });
    deliver(0.5F);
    onMain([&] { recorder->forceStop(); });
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_FALSE(isCapturing());
    EXPECT_EQ(recorder->audioLevel.get(), 0);
    EXPECT_FALSE(onMain([&] { return static_cast<bool>(recorder->onBuffer()); }));
    EXPECT_TRUE(files.isClosed(onlyFile()));
    cleanUp();
    EXPECT_TRUE(std::filesystem::exists(onlyFile()));
    EXPECT_TRUE(reportedSeconds().empty());
}

TEST_F(AudioRecorderTest, ForceStopWithoutACaptureForgetsAFinishedRecording) {
    start();
    stop();
    onMain([&] { recorder->forceStop(); });
    cleanUp();
    EXPECT_TRUE(std::filesystem::exists(onlyFile()));
    EXPECT_EQ(reportedSeconds().size(), 1U);
}

TEST_F(AudioRecorderTest, CleanupDeletesTheFileAndOverwritesTheSamples) {
    start();
    const auto first = deliver(0.5F);
    const auto second = deliver(0.25F, 7);
    stop();
    EXPECT_FALSE(isZero(*first));
    cleanUp();
    EXPECT_FALSE(std::filesystem::exists(onlyFile()));
    EXPECT_FALSE(random.control().requests().empty()) << "the file must be overwritten before it goes";
    EXPECT_TRUE(isZero(*first));
    EXPECT_TRUE(isZero(*second));
}

TEST_F(AudioRecorderTest, CleanupOverwritesEveryChannel) {
    microphone.setFormat({48000, 2});
    start();
    microphone.speak(std::vector<float>(1024, 0.5F));
    stop();
    const auto buffer = files.written(onlyFile()).at(0);
    EXPECT_EQ(buffer->channel(1)[5], -0.5F);
    cleanUp();
    EXPECT_TRUE(isZero(*buffer));
}

TEST_F(AudioRecorderTest, CleanupReleasesTheBuffers) {
    start();
    auto buffer = std::make_shared<platform::PcmBuffer>(platform::AudioFormat{48000, 1}, 1024);
    files.failWriting("not kept by the file");
    microphone.deliver(buffer);
    stop();
    EXPECT_EQ(buffer.use_count(), 2);
    cleanUp();
    EXPECT_EQ(buffer.use_count(), 1);
}

TEST_F(AudioRecorderTest, CleanupWithoutAFileStillOverwritesTheSamples) {
    start();
    const auto buffer = deliver(0.5F);
    onMain([&] { recorder->forceStop(); });
    EXPECT_FALSE(isZero(*buffer));
    cleanUp();
    EXPECT_TRUE(isZero(*buffer));
}

TEST_F(AudioRecorderTest, CleanupIgnoresAFailedDeletion) {
    start();
    const auto buffer = deliver(0.5F);
    stop();
    random.control().failWith(5);
    cleanUp();
    EXPECT_TRUE(isZero(*buffer));
    EXPECT_TRUE(std::filesystem::exists(onlyFile()));
    random.control().failWith(0);
    cleanUp();
    EXPECT_TRUE(std::filesystem::exists(onlyFile())) << "the recording was forgotten";
}

TEST_F(AudioRecorderTest, CleanupIgnoresAMissingFile) {
    start();
    stop();
    std::filesystem::remove(onlyFile());
    cleanUp();
    EXPECT_FALSE(std::filesystem::exists(onlyFile()));
}

TEST_F(AudioRecorderTest, CleanupRemovesTheConsumerAndResetsTheLevel) {
    start();
    deliver(0.5F);
    runtime.runUntilIdle();
    onMain([&] {
        recorder->setOnBuffer([](const platform::PcmBufferPtr&) {});
        recorder->cleanupRecording();
        EXPECT_FALSE(recorder->onBuffer());
        EXPECT_EQ(recorder->audioLevel.get(), 0);
    });
}

TEST_F(AudioRecorderTest, ANewRecordingDropsTheBuffersOfThePreviousOne) {
    start();
    const auto old = deliver(0.5F);
    stop();
    start();
    stop();
    cleanUp();
    EXPECT_FALSE(isZero(*old));
}

TEST_F(AudioRecorderTest, ClosesASegmentAndContinuesTheCapture) {
    int heard = 0;
    start();
    onMain([&] { recorder->setOnBuffer([&](const platform::PcmBufferPtr&) { ++heard; }); });
    deliver(0.5F);
    runtime.clock().advance(1.25);
    const auto path = closeSegment();
    EXPECT_EQ(path, onlyFile());
    EXPECT_TRUE(files.isClosed(onlyFile()));
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_EQ(reportedSeconds(), std::vector<std::string>{"1.25"});

    ASSERT_TRUE(isCapturing());
    EXPECT_TRUE(recorder->audioEngine()->isRunning());
    const auto between = deliver(0.25F);
    runtime.runUntilIdle();
    EXPECT_EQ(heard, 2);
    EXPECT_FLOAT_EQ(recorder->audioLevel.get(), 0.25F);
    EXPECT_EQ(files.written(onlyFile()).size(), 1U);

    EXPECT_EQ(closeSegment(), std::nullopt);
    EXPECT_TRUE(isCapturing());
    EXPECT_EQ(reportedSeconds().size(), 1U);

    cleanUp();
    EXPECT_TRUE(std::filesystem::exists(onlyFile())) << "a closed segment is the caller's";
    EXPECT_TRUE(isZero(*between));
}

TEST_F(AudioRecorderTest, ClosesNoSegmentWhenIdle) {
    EXPECT_EQ(closeSegment(), std::nullopt);
    EXPECT_TRUE(reportedSeconds().empty());
}

TEST_F(AudioRecorderTest, OpensASegmentOnTheRunningCapture) {
    start();
    const auto first = deliver(0.5F);
    closeSegment();
    const auto between = deliver(0.25F);
    runtime.clock().advance(10);
    openSegment();
    EXPECT_TRUE(recorder->isRecording.get());
    EXPECT_EQ(microphone.madeCount(), 1);
    const auto second = deliver(0.125F);
    runtime.clock().advance(2);

    const auto paths = files.created();
    ASSERT_EQ(paths.size(), 2U);
    EXPECT_EQ(stop(), paths[1]);
    EXPECT_EQ(files.written(paths[1]), std::vector{second});
    EXPECT_EQ(reportedSeconds(), (std::vector<std::string>{"0.00", "2.00"}));

    cleanUp();
    EXPECT_FALSE(isZero(*first)) << "a new segment empties the list without overwriting";
    EXPECT_FALSE(isZero(*between));
    EXPECT_TRUE(isZero(*second));
    EXPECT_TRUE(std::filesystem::exists(paths[0]));
    EXPECT_FALSE(std::filesystem::exists(paths[1]));
}

TEST_F(AudioRecorderTest, StopBetweenSegmentsEndsTheCaptureAndReturnsNothing) {
    start();
    closeSegment();
    EXPECT_EQ(stop(), std::nullopt);
    EXPECT_FALSE(isCapturing());
    EXPECT_EQ(reportedSeconds().size(), 1U);
}

TEST_F(AudioRecorderTest, OpensNoSegmentWithoutARunningCapture) {
    EXPECT_THROW(openSegment(), AudioRecorderError);
    start();
    closeSegment();
    microphone.unplug();
    EXPECT_THROW(openSegment(), AudioRecorderError);
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_EQ(files.created().size(), 1U);
}

TEST_F(AudioRecorderTest, ThrowsTheErrorOfASegmentThatCannotBeMade) {
    start();
    closeSegment();
    const auto between = deliver(0.5F);
    files.failCreating("disk full");
    EXPECT_THROW(openSegment(), platform::AudioFileError);
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_TRUE(isCapturing());
    cleanUp();
    EXPECT_TRUE(isZero(*between));
}

TEST_F(AudioRecorderTest, StopsByItselfAfterTenMinutes) {
    start();
    runtime.clock().advance(599.9);
    EXPECT_TRUE(recorder->isRecording.get());
    runtime.clock().advance(0.1);
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_FALSE(isCapturing());
    EXPECT_EQ(reportedSeconds(), std::vector<std::string>{"600.00"});
    EXPECT_EQ(stop(), std::nullopt);
    cleanUp();
    EXPECT_FALSE(std::filesystem::exists(onlyFile()));
}

TEST_F(AudioRecorderTest, StopsALaterRecordingTenMinutesAfterAnEarlierOneBegan) {
    start();
    runtime.clock().advance(10);
    stop();
    runtime.clock().advance(290);
    start();
    runtime.clock().advance(299);
    EXPECT_TRUE(recorder->isRecording.get());
    runtime.clock().advance(1);
    EXPECT_FALSE(recorder->isRecording.get());
    EXPECT_EQ(reportedSeconds(), (std::vector<std::string>{"10.00", "300.00"}));
}

TEST_F(AudioRecorderTest, DoesNotStopACaptureBetweenSegments) {
    start();
    runtime.clock().advance(599);
    closeSegment();
    runtime.clock().advance(2);
    EXPECT_TRUE(isCapturing());
    openSegment();
    runtime.clock().advance(10000);
    EXPECT_TRUE(recorder->isRecording.get()) << "a segment has no limit of its own";
}

TEST_F(AudioRecorderTest, StopsTheCaptureAtItsDestruction) {
    start();
    const auto buffer = deliver(0.5F);
    onMain([&] { recorder.reset(); });
    EXPECT_FALSE(microphone.isCapturing());
    EXPECT_TRUE(files.isClosed(onlyFile()));
    EXPECT_TRUE(isZero(*buffer));
    deliver(0.5F);
    EXPECT_EQ(files.written(onlyFile()).size(), 1U);
    runtime.clock().advance(700);
}

TEST_F(AudioRecorderTest, IgnoresALevelAfterItsDestruction) {
    start();
    std::vector<float> levels;
    const auto subscription = recorder->audioLevel.subscribe([&](float value) { levels.push_back(value); });
    const std::weak_ptr<AudioRecorder> watched = recorder;
    onMain([&] {
        deliver(0.5F);
        recorder.reset();
        EXPECT_TRUE(watched.expired()) << "a level on its way must not keep the recorder";
    });
    EXPECT_EQ(levels, std::vector<float>());
    EXPECT_FALSE(microphone.isCapturing());
}

} // namespace sonvale::audio
