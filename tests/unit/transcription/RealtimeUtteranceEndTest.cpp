#include "transcription/RealtimeUtteranceEnd.h"

#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

namespace sonvale::transcription {

namespace {

/// The end of an utterance on a session whose socket keeps the first chunk.
class RealtimeUtteranceEndTest : public testing::Test {
protected:
    RealtimeUtteranceEndTest() {
        const auto session = connection_->begin();
        const auto urlSession = sessions_.makeEphemeral();
        const auto socket = urlSession->webSocketTask({});
        connection_->attach(session, socket, urlSession);
        socket->resume();
        connection_->becomeReady(session, {}, std::nullopt);
        sessions_.control().lastSocket()->holdSends();
        base::WipedBytes pcm(OutgoingAudio::targetChunkBytes, 'a');
        sender_->append(pcm);
        runtime_.runUntilIdle();
    }
    ~RealtimeUtteranceEndTest() override { runtime_.endTasks(); }

    runtime::TaskHandle<std::string> finish() {
        auto task = runtime::spawn(runtime_.pool(), end_->finish());
        runtime_.runUntilIdle();
        return task;
    }
    static bool isCancelled(const runtime::TaskHandle<std::string>& task) {
        auto outcome = task.state()->outcome;
        try {
            runtime::detail::take<std::string>(std::move(outcome));
            return false;
        } catch (const runtime::CancellationError&) {
            return true;
        }
    }

    tests::LogCapture log_;
    tests::TestRuntime runtime_;
    tests::FakeUrlSessions sessions_;
    runtime::Actor sending_ = runtime_.makeSerialActor("sending");
    std::shared_ptr<RealtimeTranscript> transcript_ = std::make_shared<RealtimeTranscript>(runtime_.clock());
    std::shared_ptr<RealtimeConnection> connection_ = std::make_shared<RealtimeConnection>(runtime_.clock());
    std::shared_ptr<RealtimeAudioSender> sender_ =
        std::make_shared<RealtimeAudioSender>(sending_, connection_);
    std::shared_ptr<RealtimeUtteranceEnd> end_ = std::make_shared<RealtimeUtteranceEnd>(
        runtime_.pool(), sending_, runtime_.clock(), connection_, sender_, transcript_);
};

} // namespace

TEST_F(RealtimeUtteranceEndTest, HandsItsWaitOutOnce) {
    EXPECT_FALSE(end_->takeWait());
    const auto task = finish();
    EXPECT_TRUE(end_->isSending());
    const auto wait = end_->takeWait();
    ASSERT_TRUE(wait);
    EXPECT_FALSE(end_->isSending());
    EXPECT_FALSE(end_->takeWait());
    wait->fail(std::make_exception_ptr(runtime::CancellationError()));
    runtime_.runUntilIdle();
    ASSERT_TRUE(task.isDone());
    EXPECT_TRUE(isCancelled(task));
}

TEST_F(RealtimeUtteranceEndTest, EndsACommitThatBeginsWhileTheSessionEnds) {
    EXPECT_FALSE(end_->takeWait());
    const auto task = finish();
    connection_->end().close();
    runtime_.runUntilIdle();
    ASSERT_TRUE(task.isDone());
    EXPECT_TRUE(isCancelled(task));
    EXPECT_FALSE(end_->isSending());
}

TEST_F(RealtimeUtteranceEndTest, SendsNothingToASessionThatBeganMeanwhile) {
    const auto task = finish();
    const auto former = connection_->end();
    const auto urlSession = sessions_.makeEphemeral();
    const auto session = connection_->begin();
    const auto socket = urlSession->webSocketTask({});
    connection_->attach(session, socket, urlSession);
    socket->resume();
    base::WipedBytes pcm(10, 'b');
    sender_->append(pcm);
    former.close();
    runtime_.runUntilIdle();
    ASSERT_TRUE(task.isDone());
    EXPECT_TRUE(isCancelled(task));
    EXPECT_TRUE(sessions_.control().lastSocket()->messages().empty());
    EXPECT_EQ(connection_->takeRest(session).pcm.size(), 10U);
}

} // namespace sonvale::transcription
