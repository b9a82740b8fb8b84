#include "tests/unit/transcription/RealtimeFixture.h"

namespace sonvale::transcription {

using RealtimeOutcome = RealtimeFixture;
using platform::WebSocketMessage;

TEST_F(RealtimeOutcome, ReturnsTheTranscriptWithoutOuterBlanks) {
    start();
    const auto task = finalize();
    clock().advance(0.4);
    complete(" \tGood morning.\n ");
    EXPECT_EQ(outcome(task), "Good morning.\n");
    EXPECT_TRUE(logged("RealtimeSTT: Buffer committed — awaiting transcript"));
    EXPECT_TRUE(logged("RealtimeSTT: Transcript completed (14 chars, 1 segment(s))"));
    EXPECT_TRUE(printed("Transcript wait: 400ms (14 chars)"));
}

TEST_F(RealtimeOutcome, ReturnsAnEmptyTranscript) {
    start();
    const auto task = finalize();
    complete("");
    EXPECT_TRUE(task.isDone());
    EXPECT_EQ(outcome(task), "");
}

TEST_F(RealtimeOutcome, ReturnsAnEmptyTextForACompletedEventWithoutText) {
    for (const std::string frame :
         {R"({"type":"conversation.item.input_audio_transcription.completed"})",
          R"({"type":"conversation.item.input_audio_transcription.completed","transcript":1})"}) {
        engine_->cancelSession();
        start();
        const auto task = finalize();
        socket().deliverText(frame);
        run();
        EXPECT_TRUE(task.isDone());
        EXPECT_EQ(outcome(task), "");
    }
    EXPECT_EQ(
        countOf("RealtimeSTT: Transcription completed event missing 'transcript' field — resolving with "
                "empty string"),
        2);
}

TEST_F(RealtimeOutcome, ReadsABinaryFrameLikeATextFrame) {
    start();
    const auto task = finalize();
    socket().deliver(
        {WebSocketMessage::Kind::binary,
         R"({"type":"conversation.item.input_audio_transcription.completed","transcript":"x"})"});
    run();
    EXPECT_EQ(outcome(task), "x");
}

TEST_F(RealtimeOutcome, FailsWithTheServicesError) {
    const std::vector<std::pair<std::string, std::string>> rows = {
        {R"({"type":"error","error":{"message":"Bad","code":400}})", "API error (400): Bad"},
        {R"({"type":"error","error":{"message":"Bad","code":"400"}})", "API error (0): Bad"},
        {R"({"type":"error","error":{"message":7,"code":1.5}})", "API error (0): Unknown API error"},
        {R"({"type":"error","error":"no"})", "API error (0): Unknown API error"},
        {R"({"type":"error"})", "API error (0): Unknown API error"},
        {R"({"type":"error","error":{"message":"Bad","code":5000000000}})", "API error (5000000000): Bad"},
    };
    start();
    for (const auto& [frame, description] : rows) {
        const auto task = finalize();
        socket().deliverText(frame);
        run();
        EXPECT_EQ(outcome(task), description);
    }
    EXPECT_TRUE(logged("RealtimeSTT: API error 400 — <private>"));
    EXPECT_TRUE(engine_->hasReadySession()) << "only the waiting utterance fails";
}

TEST_F(RealtimeOutcome, IgnoresUnknownFrames) {
    start();
    const auto task = finalize();
    for (const std::string frame :
         {R"({"type":"session.created","session":{"id":"sess_1"}})", R"({"type":"session.created"})",
          R"({"type":"session.updated"})", R"({"type":"input_audio_buffer.committed"})",
          R"({"type":"conversation.item.input_audio_transcription.delta","delta":"Go"})",
          R"({"type":"conversation.item.input_audio_transcription.delta","delta":[]})",
          R"({"type":"response.done"})", R"({"type":"rate_limits.updated","rate_limits":[]})",
          R"({"type":5})", R"([])", R"({)", R"("\ud800")", ""}) {
        socket().deliverText(frame);
        run();
        EXPECT_EQ(outcome(task), "waiting") << frame;
    }
    socket().deliver({WebSocketMessage::Kind::text, "\xff\xfe"});
    run();
    EXPECT_TRUE(logged("RealtimeSTT: Received non-UTF8 text frame — ignoring"));
    EXPECT_EQ(countOf("RealtimeSTT: Failed to parse incoming JSON frame"), 5);
    EXPECT_TRUE(logged("RealtimeSTT: Session created (id present: true)"));
    EXPECT_TRUE(logged("RealtimeSTT: Session created (id present: false)"));
    EXPECT_TRUE(logged("RealtimeSTT: Received 'session.updated'"));
    EXPECT_TRUE(logged("RealtimeSTT: Received 'input_audio_buffer.committed'"));
    EXPECT_TRUE(logged("RealtimeSTT: Delta chunk received (2 chars)"));
    EXPECT_TRUE(logged("RealtimeSTT: Ignoring unhandled event type 'rate_limits.updated'"));
    EXPECT_TRUE(logged("RealtimeSTT: response.done received (no unresolved segments — continuation already "
                       "resolved)"));
    complete("still here");
    EXPECT_EQ(outcome(task), "still here");
}

TEST_F(RealtimeOutcome, DropsATranscriptIfNoTaskWaits) {
    start();
    run();
    complete("early");
    const auto task = finalize();
    EXPECT_EQ(outcome(task), "waiting");
    complete("late");
    EXPECT_EQ(outcome(task), "late");
}

TEST_F(RealtimeOutcome, KeepsATranscriptThatComesBeforeTheCommitIsReportedAsSent) {
    start();
    run();
    socket().holdSends();
    const auto task = finalize();
    EXPECT_EQ(types().back(), "input_audio_buffer.commit");
    complete("quick");
    EXPECT_EQ(outcome(task), "waiting");
    socket().releaseSends();
    run();
    EXPECT_EQ(outcome(task), "quick");
}

TEST_F(RealtimeOutcome, TimesOutAfterTenSeconds) {
    start();
    const auto task = finalize();
    clock().advance(9.99);
    EXPECT_EQ(outcome(task), "waiting");
    clock().advance(0.01);
    EXPECT_EQ(outcome(task), "Transcription timed out.");
    EXPECT_TRUE(logged("RealtimeSTT: Transcript timed out after 10 s"));
    EXPECT_TRUE(engine_->hasReadySession());
}

TEST_F(RealtimeOutcome, EndsANewerWaitByAnOlderTimer) {
    start();
    const auto first = finalize();
    complete("one");
    EXPECT_EQ(outcome(first), "one");
    clock().advance(9);
    const auto second = finalize();
    clock().advance(0.9);
    EXPECT_EQ(outcome(second), "waiting");
    clock().advance(0.1);
    EXPECT_EQ(outcome(second), "Transcription timed out.");
    EXPECT_EQ(countOf("RealtimeSTT: Transcript timed out after 10 s"), 1);
    clock().advance(20);
    EXPECT_EQ(countOf("RealtimeSTT: Transcript timed out after 10 s"), 1);
}

TEST_F(RealtimeOutcome, EndsTheFirstOfTwoWaitsWithACancellation) {
    start();
    const auto first = finalize();
    const auto second = finalize();
    EXPECT_EQ(outcome(first), "cancelled");
    EXPECT_TRUE(logged("RealtimeSTT: Replacing pending continuation — resuming old one with cancellation"));
    complete("for the second");
    EXPECT_EQ(outcome(second), "for the second");
}

TEST_F(RealtimeOutcome, EndsTheWaitIfTheSessionIsCancelled) {
    start();
    const auto task = finalize();
    engine_->cancelSession();
    run();
    EXPECT_EQ(outcome(task), "cancelled");
    EXPECT_TRUE(logged("RealtimeSTT: Cancelling session"));
    EXPECT_TRUE(logged("RealtimeSTT: Receive loop exited"));
}

TEST_F(RealtimeOutcome, FailsTheWaitIfTheConnectionIsLost) {
    start();
    clock().advance(3);
    const auto task = finalize();
    socket().close();
    run();
    EXPECT_EQ(outcome(task), "Network error: The network connection was lost.");
    EXPECT_FALSE(engine_->hasReadySession());
    EXPECT_TRUE(logged("RealtimeSTT: WebSocket receive error — The network connection was lost."));
    EXPECT_TRUE(
        logged("RealtimeSTT: Session lifecycle (receive loop exit) — duration: 3.0s, audio_sent: false"));
}

TEST_F(RealtimeOutcome, FailsAtOnceIfTheSessionWasLostWhileTheUserSpoke) {
    start();
    run();
    socket().close();
    run();
    append(4800);
    const auto task = finalize();
    EXPECT_EQ(outcome(task), "Network error: WebSocket session ended during recording");
    EXPECT_EQ(types(), std::vector<std::string>{"session.update"}) << "no frame is sent";
    EXPECT_TRUE(logged("RealtimeSTT: Session dropped during recording — cannot finalize"));
}

TEST_F(RealtimeOutcome, ReturnsTheTranscriptThatCameBeforeTheConnectionWasLost) {
    start();
    const auto task = finalize();
    socket().deliverText(
        R"({"type":"conversation.item.input_audio_transcription.completed","transcript":"just in time"})");
    socket().close();
    run();
    EXPECT_EQ(outcome(task), "just in time");
}

TEST_F(RealtimeOutcome, OpensANewSessionAfterALoss) {
    start();
    run();
    socket().close();
    run();
    start();
    append(4800);
    const auto task = finalize();
    complete("again");
    EXPECT_EQ(outcome(task), "again");
}

TEST_F(RealtimeOutcome, IgnoresTheSocketOfAnEarlierSession) {
    start();
    run();
    const auto former = network().lastSocket();
    engine_->cancelSession();
    start();
    run();
    EXPECT_TRUE(former->isEnded());
    EXPECT_TRUE(engine_->hasReadySession()) << "the earlier receive loop must not end this session";
    const auto task = finalize();
    complete("new");
    EXPECT_EQ(outcome(task), "new");
}

TEST_F(RealtimeOutcome, IgnoresTheCancellationOfTheWaitingTask) {
    start();
    const auto task = finalize();
    task.cancel();
    run();
    EXPECT_EQ(outcome(task), "waiting");
    complete("all the same");
    EXPECT_EQ(outcome(task), "all the same");
}

} // namespace sonvale::transcription
