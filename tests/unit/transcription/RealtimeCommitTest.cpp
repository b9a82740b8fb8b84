#include "tests/unit/transcription/RealtimeFixture.h"

namespace sonvale::transcription {

using RealtimeCommit = RealtimeFixture;

TEST_F(RealtimeCommit, FailsIfTheConnectionTakesNoAudio) {
    start();
    socket().holdSends();
    append(4800);
    append(100);
    const auto task = finalize();
    clock().advance(4.9);
    EXPECT_EQ(outcome(task), "waiting");
    clock().advance(0.1);
    EXPECT_EQ(outcome(task), "Network error: The connection to the transcription service does not respond");
    EXPECT_TRUE(logged("RealtimeSTT: Audio not sent within 5 s — giving the session up"));
    EXPECT_FALSE(engine_->hasReadySession());
    EXPECT_TRUE(socket().isEnded());
    EXPECT_EQ(runtime_.registry().count(), 0U) << "no task waits for a send any more";
    EXPECT_EQ(outcome(finalize()), "Network error: WebSocket session ended during recording");
}

TEST_F(RealtimeCommit, FailsIfTheConnectionDoesNotTakeTheCommit) {
    start();
    append(100);
    socket().holdSends();
    const auto task = finalize();
    clock().advance(3);
    socket().completeSend();
    run();
    ASSERT_EQ(types().back(), "input_audio_buffer.commit");
    clock().advance(1.9);
    EXPECT_EQ(outcome(task), "waiting");
    clock().advance(0.1);
    EXPECT_EQ(outcome(task), "Network error: The connection to the transcription service does not respond");
}

TEST_F(RealtimeCommit, KeepsASlowConnectionThatTakesTheCommitInTime) {
    start();
    socket().holdSends();
    append(4800);
    const auto task = finalize();
    clock().advance(4.9);
    socket().releaseSends();
    run();
    clock().advance(9);
    EXPECT_EQ(outcome(task), "waiting") << "the wait for the text has its own limit";
    complete("slow");
    EXPECT_EQ(outcome(task), "slow");
    clock().advance(20);
    EXPECT_TRUE(engine_->hasReadySession());
}

TEST_F(RealtimeCommit, SendsNoAudioOfAFailedUtteranceToTheNextSession) {
    start();
    const auto former = network().lastSocket();
    former->holdSends();
    append(4800);
    append(100);
    const auto task = finalize();
    clock().advance(5);
    ASSERT_TRUE(task.isDone());
    engine_->cancelSession();
    start();
    append(4800);
    run();
    EXPECT_EQ(types(), (std::vector<std::string>{"session.update", "input_audio_buffer.append"}));
    const auto next = finalize();
    complete("the next text");
    EXPECT_EQ(outcome(next), "the next text");
}

TEST_F(RealtimeCommit, EndsAtOnceIfTheSessionIsCancelled) {
    start();
    socket().holdSends();
    append(4800);
    const auto task = finalize();
    EXPECT_EQ(outcome(task), "waiting");
    EXPECT_TRUE(engine_->cancelUncommitted());
    run();
    EXPECT_EQ(outcome(task), "cancelled");
    EXPECT_TRUE(socket().isEnded());
    EXPECT_FALSE(engine_->cancelUncommitted());
}

TEST_F(RealtimeCommit, IsNotCancelledAfterItIsSent) {
    EXPECT_FALSE(engine_->cancelUncommitted());
    start();
    EXPECT_FALSE(engine_->cancelUncommitted());
    const auto task = finalize();
    EXPECT_FALSE(engine_->cancelUncommitted());
    complete("sent");
    EXPECT_EQ(outcome(task), "sent");
    EXPECT_TRUE(engine_->hasReadySession());
}

TEST_F(RealtimeCommit, EndsTheFirstOfTwoThatWaitForTheirAudio) {
    start();
    socket().holdSends();
    append(4800);
    const auto first = finalize();
    const auto second = finalize();
    EXPECT_EQ(outcome(first), "cancelled");
    socket().releaseSends();
    run();
    complete("for the second");
    EXPECT_EQ(outcome(second), "for the second");
}

TEST_F(RealtimeCommit, ClosesAReadySessionOnRequest) {
    engine_->closeReadySession();
    EXPECT_EQ(countOf("RealtimeSTT: Cancelling session"), 0) << "there is none";
    start();
    engine_->closeReadySession();
    run();
    EXPECT_TRUE(socket().isEnded());
    EXPECT_FALSE(engine_->hasReadySession());
}

TEST_F(RealtimeCommit, IsNotReusedAfterTheMachineSlept) {
    start();
    const auto former = network().lastSocket();
    clock().advance(60);
    EXPECT_TRUE(engine_->hasReadySession());
    clock().sleepThrough(30);
    EXPECT_FALSE(engine_->hasReadySession());
    start();
    EXPECT_TRUE(former->isEnded());
    EXPECT_EQ(network().sockets().size(), 2U);
    EXPECT_TRUE(engine_->hasReadySession());
}

TEST_F(RealtimeCommit, CountsTheTimeAsleepForTheLifeOfAPreWarmedSession) {
    runtime_.wait(engine_->preWarm(format));
    const auto former = network().lastSocket();
    clock().sleepThrough(8 * 3600);
    EXPECT_TRUE(former->isEnded());
}

} // namespace sonvale::transcription
