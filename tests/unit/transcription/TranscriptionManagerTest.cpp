#include "transcription/TranscriptionManager.h"

#include "tests/support/TestRuntime.h"
#include "transcription/TranscriptionError.h"

#include <gtest/gtest.h>

namespace sonvale::transcription {

namespace {

using Preference = TranscriptionEnginePreference;

class FakeEngine final : public TranscriptionEngine {
public:
    bool isAvailable() const override { return isReady; }

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
        co_return "hello";
    }

    bool isReady = true;
    std::optional<TranscriptionError> error;
    runtime::Clock* clock = nullptr;
    int calls = 0;
    std::filesystem::path file;
    std::optional<std::string> spoken;
    bool wasCancelled = false;
};

class TranscriptionManagerTest : public testing::Test {
protected:
    std::string errorName(Preference preference) {
        manager_.preferredEngine = preference;
        try {
            return "result " + runtime_.wait(manager_.transcribe("a.m4a", std::nullopt));
        } catch (const TranscriptionError& error) {
            return error.name();
        }
    }

    tests::TestRuntime runtime_;
    TranscriptionManager manager_;
    std::shared_ptr<FakeEngine> engine_ = std::make_shared<FakeEngine>();
};

} // namespace

TEST_F(TranscriptionManagerTest, PrefersHybridAndHasNoLocalEngineAtFirst) {
    EXPECT_EQ(manager_.preferredEngine.get(), Preference::hybrid);
    EXPECT_EQ(manager_.localEngine.get(), nullptr);
}

TEST_F(TranscriptionManagerTest, AnswersLocalAndHybridByTheLocalEngine) {
    manager_.localEngine = engine_;
    EXPECT_EQ(errorName(Preference::local), "result hello");
    EXPECT_EQ(errorName(Preference::hybrid), "result hello");
    EXPECT_EQ(engine_->calls, 2);
}

TEST_F(TranscriptionManagerTest, HandsTheFileAndTheLanguageOn) {
    manager_.localEngine = engine_;
    runtime_.wait(manager_.transcribe("/tmp/one.m4a", "de"));
    EXPECT_EQ(engine_->file, "/tmp/one.m4a");
    EXPECT_EQ(engine_->spoken, "de");
    runtime_.wait(manager_.transcribe("/tmp/two.m4a", std::nullopt));
    EXPECT_EQ(engine_->spoken, std::nullopt);
}

TEST_F(TranscriptionManagerTest, IsUnavailableWithoutAnAvailableLocalEngine) {
    EXPECT_EQ(errorName(Preference::local), "engineUnavailable");
    EXPECT_EQ(errorName(Preference::hybrid), "engineUnavailable");
    manager_.localEngine = engine_;
    engine_->isReady = false;
    EXPECT_EQ(errorName(Preference::local), "engineUnavailable");
    EXPECT_EQ(errorName(Preference::hybrid), "engineUnavailable");
    EXPECT_EQ(engine_->calls, 0);
}

TEST_F(TranscriptionManagerTest, DoesNotSendCloudAndStreamingToTheLocalEngine) {
    manager_.localEngine = engine_;
    EXPECT_EQ(errorName(Preference::cloud), "engineUnavailable");
    EXPECT_EQ(errorName(Preference::streaming), "engineUnavailable");
    EXPECT_EQ(engine_->calls, 0);
}

TEST_F(TranscriptionManagerTest, ThrowsTheLocalErrorAsItIs) {
    manager_.localEngine = engine_;
    engine_->error = TranscriptionError::invalidResponse();
    EXPECT_EQ(errorName(Preference::local), "invalidResponse");
    EXPECT_EQ(errorName(Preference::hybrid), "invalidResponse");
}

TEST_F(TranscriptionManagerTest, PassesItsCancellationToTheEngine) {
    manager_.localEngine = engine_;
    engine_->clock = &runtime_.clock();
    const auto task = runtime::spawn(runtime_.main(), manager_.transcribe("a.m4a", std::nullopt));
    runtime_.runUntilIdle();
    EXPECT_FALSE(task.isDone());
    task.cancel();
    runtime_.runUntilIdle();
    EXPECT_TRUE(task.isDone());
    EXPECT_TRUE(engine_->wasCancelled);
}

TEST_F(TranscriptionManagerTest, KeepsTheEngineThatWorksWhenAnotherOneIsSet) {
    engine_->clock = &runtime_.clock();
    manager_.localEngine = engine_;
    const auto task = runtime::spawn(runtime_.main(), manager_.transcribe("a.m4a", std::nullopt));
    runtime_.runUntilIdle();
    const std::weak_ptr<FakeEngine> working = engine_;
    engine_.reset();
    manager_.localEngine = nullptr;
    EXPECT_FALSE(working.expired());
    runtime_.clock().advance(60);
    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(runtime_.wait(task.value()), "hello");
}

TEST_F(TranscriptionManagerTest, TellsObserversOfItsFields) {
    std::vector<Preference> heard;
    int engines = 0;
    const auto first = manager_.preferredEngine.subscribe([&](Preference value) { heard.push_back(value); });
    const auto second = manager_.localEngine.subscribe([&](const auto&) { ++engines; });
    manager_.preferredEngine = Preference::hybrid;
    manager_.preferredEngine = Preference::local;
    manager_.localEngine = engine_;
    manager_.localEngine = engine_;
    EXPECT_EQ(heard, std::vector{Preference::local});
    EXPECT_EQ(engines, 1);
}

} // namespace sonvale::transcription
