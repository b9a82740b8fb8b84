#include "transcription/TranscriptionManager.h"

#include "tests/unit/transcription/RealtimeFixture.h"
#include "transcription/TranscriptionError.h"

#include <gtest/gtest.h>

namespace sonvale::transcription {

namespace {

using Preference = TranscriptionEnginePreference;

class FakeEngine final : public TranscriptionEngine {
public:
    bool isAvailable() const override { return isReady; }
    void prepare() override { ++preparations; }

    runtime::Task<std::string> transcribe(std::filesystem::path audioFileURL,
                                          std::optional<std::string> language) override {
        ++calls;
        file = audioFileURL;
        spoken = language;
        if (error)
            throw TranscriptionError(*error);
        if (clock)
            co_await runtime::sleep(*clock, 60);
        wasCancelled = co_await runtime::isCurrentTaskCancelled();
        co_return name;
    }

    std::string name = "local text";
    bool isReady = true;
    std::optional<TranscriptionError> error;
    runtime::Clock* clock = nullptr;
    int calls = 0;
    std::filesystem::path file;
    std::optional<std::string> spoken;
    bool wasCancelled = false;
    int preparations = 0;
};

class TranscriptionManagerTest : public RealtimeFixture {
protected:
    TranscriptionManagerTest() { cloud_->name = "cloud text"; }

    std::string outcomeWith(Preference preference) {
        manager_.preferredEngine = preference;
        return outcomeOf(manager_.transcribe("a.m4a", std::nullopt));
    }
    std::string outcomeOf(runtime::Task<std::string> task) {
        try {
            return runtime_.wait(std::move(task));
        } catch (const TranscriptionError& error) {
            return error.name();
        }
    }
    void failCloud() {
        cloud_->error = TranscriptionError::networkError({"NSURLErrorDomain", -1009, "offline"});
    }

    runtime::Task<> startStreaming(platform::AudioFormat format) {
        return manager_.startStreaming(
            format, [this](TranscriptionManager::AudioConsumer consumer) { bound_ = std::move(consumer); });
    }

    TranscriptionManager::AudioConsumer bound_;
    std::shared_ptr<FakeEngine> cloud_ = std::make_shared<FakeEngine>();
    std::shared_ptr<FakeEngine> local_ = std::make_shared<FakeEngine>();
    TranscriptionManager manager_{cloud_, engine_};
};

} // namespace

TEST_F(TranscriptionManagerTest, PrefersHybridAndHasNoLocalEngineAtFirst) {
    EXPECT_EQ(manager_.preferredEngine.get(), Preference::hybrid);
    EXPECT_EQ(manager_.localEngine.get(), nullptr);
}

TEST_F(TranscriptionManagerTest, UsesTheEngineOfThePreference) {
    manager_.localEngine = local_;
    EXPECT_EQ(outcomeWith(Preference::cloud), "cloud text");
    EXPECT_EQ(outcomeWith(Preference::hybrid), "cloud text");
    EXPECT_EQ(outcomeWith(Preference::streaming), "cloud text");
    EXPECT_EQ(local_->calls, 0);
    EXPECT_EQ(outcomeWith(Preference::local), "local text");
    EXPECT_EQ(cloud_->calls, 3);
}

TEST_F(TranscriptionManagerTest, PassesTheFileAndTheLanguageToTheEngine) {
    manager_.localEngine = local_;
    failCloud();
    runtime_.wait(manager_.transcribe("/tmp/one.m4a", "de"));
    EXPECT_EQ(cloud_->file, "/tmp/one.m4a");
    EXPECT_EQ(cloud_->spoken, "de");
    EXPECT_EQ(local_->file, "/tmp/one.m4a");
    EXPECT_EQ(local_->spoken, "de");
}

TEST_F(TranscriptionManagerTest, IsUnavailableWithoutAnAvailableLocalEngine) {
    EXPECT_EQ(outcomeWith(Preference::local), "engineUnavailable");
    manager_.localEngine = local_;
    local_->isReady = false;
    EXPECT_EQ(outcomeWith(Preference::local), "engineUnavailable");
    EXPECT_EQ(local_->calls, 0);
    EXPECT_EQ(cloud_->calls, 0) << "nothing local is sent anywhere";
}

TEST_F(TranscriptionManagerTest, UsesTheLocalEngineAfterTheCloudOnlyWithHybrid) {
    manager_.localEngine = local_;
    failCloud();
    EXPECT_EQ(outcomeWith(Preference::hybrid), "local text");
    EXPECT_EQ(outcomeWith(Preference::cloud), "networkError");
    EXPECT_EQ(outcomeWith(Preference::streaming), "networkError");
    EXPECT_EQ(local_->calls, 1);
}

TEST_F(TranscriptionManagerTest, ThrowsTheLocalErrorIfBothFail) {
    manager_.localEngine = local_;
    failCloud();
    local_->error = TranscriptionError::invalidResponse();
    EXPECT_EQ(outcomeWith(Preference::hybrid), "invalidResponse");
    EXPECT_EQ(outcomeWith(Preference::local), "invalidResponse");
}

TEST_F(TranscriptionManagerTest, ThrowsTheCloudsErrorIfThereIsNoLocalEngine) {
    failCloud();
    EXPECT_EQ(outcomeWith(Preference::hybrid), "networkError");
    manager_.localEngine = local_;
    local_->isReady = false;
    EXPECT_EQ(outcomeWith(Preference::hybrid), "networkError");
}

TEST_F(TranscriptionManagerTest, PassesTheCancellationToTheEngine) {
    manager_.localEngine = local_;
    manager_.preferredEngine = Preference::local;
    local_->clock = &runtime_.clock();
    const auto task = runtime::spawn(runtime_.main(), manager_.transcribe("a.m4a", std::nullopt));
    run();
    EXPECT_FALSE(task.isDone());
    task.cancel();
    run();
    EXPECT_TRUE(task.isDone());
    EXPECT_TRUE(local_->wasCancelled);
}

TEST_F(TranscriptionManagerTest, KeepsTheWorkingEngineIfAnotherOneIsSet) {
    local_->clock = &runtime_.clock();
    manager_.localEngine = local_;
    manager_.preferredEngine = Preference::local;
    const auto task = runtime::spawn(runtime_.main(), manager_.transcribe("a.m4a", std::nullopt));
    run();
    const std::weak_ptr<FakeEngine> working = local_;
    local_.reset();
    manager_.localEngine = nullptr;
    EXPECT_FALSE(working.expired());
    runtime_.clock().advance(60);
    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(runtime_.wait(task.value()), "local text");
}

TEST_F(TranscriptionManagerTest, PreparesTheLocalEngineOnlyIfItMayBeUsed) {
    manager_.localEngine = local_;
    for (const auto preference : {Preference::cloud, Preference::streaming}) {
        manager_.preferredEngine = preference;
        manager_.prepareLocalEngine();
        EXPECT_EQ(local_->preparations, 0);
    }
    for (const auto preference : {Preference::local, Preference::hybrid}) {
        manager_.preferredEngine = preference;
        manager_.prepareLocalEngine();
    }
    EXPECT_EQ(local_->preparations, 2);
}

TEST_F(TranscriptionManagerTest, StartsNoStreamWithoutAFormat) {
    EXPECT_EQ(errorOf(startStreaming({})), "engineUnavailable");
    EXPECT_FALSE(bound_);
    EXPECT_TRUE(network().sockets().empty());
}

TEST_F(TranscriptionManagerTest, StreamsTheAudioOfARecording) {
    constexpr platform::AudioFormat format{48000, 1};
    EXPECT_EQ(errorOf(startStreaming(format)), "no error");
    ASSERT_EQ(network().sockets().size(), 1U);
    EXPECT_TRUE(manager_.isStreamReady());
    bound_(std::make_shared<platform::PcmBuffer>(format, 5120));
    bound_(std::make_shared<platform::PcmBuffer>(format, 5120));
    run();
    EXPECT_EQ(frameSizes(), (std::vector<std::size_t>{5120, 5120}));
    EXPECT_EQ(errorOf(startStreaming(format)), "no error");
    EXPECT_EQ(network().sockets().size(), 1U) << "it uses the open session";

    manager_.cancelStream();
    EXPECT_FALSE(manager_.isStreamReady());
}

TEST_F(TranscriptionManagerTest, BindsBeforeTheSessionIsOpen) {
    network().holdHandshakes();
    runtime::spawn(runtime_.main(), startStreaming({48000, 1}));
    run();
    EXPECT_TRUE(bound_);
    EXPECT_FALSE(manager_.isStreamReady());
}

TEST_F(TranscriptionManagerTest, PreWarmsOnlyIfThePreferenceStreams) {
    for (const auto preference : {Preference::cloud, Preference::local}) {
        manager_.preferredEngine = preference;
        runtime_.wait(manager_.preWarm(format));
        EXPECT_TRUE(network().sockets().empty());
    }
    for (const auto preference : {Preference::streaming, Preference::hybrid}) {
        engine_->cancelSession();
        manager_.preferredEngine = preference;
        runtime_.wait(manager_.preWarm(format));
        EXPECT_TRUE(engine_->hasReadySession());
    }
}

TEST_F(TranscriptionManagerTest, NotifiesObserversOfItsFields) {
    std::vector<Preference> heard;
    int engines = 0;
    const auto first = manager_.preferredEngine.subscribe([&](Preference value) { heard.push_back(value); });
    const auto second = manager_.localEngine.subscribe([&](const auto&) { ++engines; });
    manager_.preferredEngine = Preference::hybrid;
    manager_.preferredEngine = Preference::local;
    manager_.localEngine = local_;
    manager_.localEngine = local_;
    EXPECT_EQ(heard, std::vector{Preference::local});
    EXPECT_EQ(engines, 1);
}

} // namespace sonvale::transcription
