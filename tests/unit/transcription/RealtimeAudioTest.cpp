#include "tests/unit/transcription/RealtimeFixture.h"

#include <numeric>
#include <thread>

namespace sonvale::transcription {

using RealtimeAudio = RealtimeFixture;
using platform::UrlError;
using Sizes = std::vector<std::size_t>;

namespace {

std::string joined(const std::vector<std::string>& pieces) {
    return std::accumulate(pieces.begin(), pieces.end(), std::string());
}

/// Returns the bytes of the samples 0, 1, 2 ...
std::string numbered(std::size_t bytes) {
    std::string result;
    for (std::size_t i = 0; i < bytes / 2; ++i) {
        const auto sample = i % 30000;
        result += static_cast<char>(sample & 0xFF);
        result += static_cast<char>(sample >> 8);
    }
    return result;
}

} // namespace

TEST_F(RealtimeAudio, SendsChunksOfATenthOfASecond) {
    start();
    for (int i = 0; i < 10; ++i)
        append(1024);
    run();
    EXPECT_EQ(frameSizes(), (Sizes{5120, 5120}));
    EXPECT_EQ(joined(audioFrames(socket())), numbered(10240));
}

TEST_F(RealtimeAudio, SendsTheAudioBeforeTheHandshakeInWholeChunks) {
    append(240100);
    start();
    run();
    EXPECT_EQ(frameSizes(), Sizes(50, 4800));
    EXPECT_TRUE(logged("RealtimeSTT: Flushing 240000 pre-handshake bytes (50 chunk(s))"));
    append(4700);
    run();
    EXPECT_EQ(frameSizes().back(), 4800U);
    EXPECT_EQ(joined(audioFrames(socket())), numbered(244800));
}

TEST_F(RealtimeAudio, KeepsLessThanAChunkAtTheHandshake) {
    append(4000);
    start();
    run();
    EXPECT_TRUE(frameSizes().empty());
    for (const auto& line : log_.lines())
        EXPECT_FALSE(line.text.starts_with("RealtimeSTT: Flushing"));
    append(5000);
    run();
    EXPECT_EQ(frameSizes(), Sizes{9000});
}

TEST_F(RealtimeAudio, DropsABufferThatCannotBeConverted) {
    start();
    converters_.control().fails = true;
    append(9600);
    converters_.control().fails = false;
    converters_.control().producesNone = true;
    append(9600);
    converters_.control().producesNone = false;
    append(0);
    append(4800);
    run();
    EXPECT_EQ(frameSizes(), Sizes{4800});
}

TEST_F(RealtimeAudio, ContinuesAfterAChunkThatCouldNotBeSent) {
    start();
    socket().holdSends();
    append(4800);
    append(4800);
    run();
    EXPECT_TRUE(socket().failSend(UrlError(UrlError::Code::networkConnectionLost, "lost")));
    run();
    EXPECT_TRUE(logged("RealtimeSTT: Failed to send audio chunk — lost"));
    EXPECT_EQ(frameSizes(), (Sizes{4800, 4800}));
    EXPECT_TRUE(engine_->hasReadySession()) << "the receive loop decides about the session";
    socket().releaseSends();
    run();
}

TEST_F(RealtimeAudio, LogsInTheLifecycleWhetherAudioWasSent) {
    start();
    append(4800);
    clock().advance(2.5);
    engine_->cancelSession();
    EXPECT_TRUE(logged("RealtimeSTT: Session lifecycle — duration: 2.5s, audio_sent: true"));
}

TEST_F(RealtimeAudio, SendsTheRestAfterTheChunksAndThenTheCommit) {
    start();
    append(4800);
    append(1000);
    const auto task = finalize();
    EXPECT_EQ(types(), (std::vector<std::string>{"session.update", "input_audio_buffer.append",
                                                 "input_audio_buffer.append", "input_audio_buffer.commit"}));
    EXPECT_EQ(frameSizes(), (Sizes{4800, 1000}));
    complete("done");
    EXPECT_EQ(outcome(task), "done");
}

TEST_F(RealtimeAudio, CommitsWithoutAnAppendIfNoAudioIsLeft) {
    start();
    append(4800);
    run();
    finalize();
    EXPECT_EQ(types().back(), "input_audio_buffer.commit");
    EXPECT_EQ(frameSizes(), Sizes{4800});
}

TEST_F(RealtimeAudio, SendsTheRestAfterEveryPendingChunk) {
    start();
    socket().holdSends();
    append(4800);
    append(4800);
    append(100);
    const auto task = finalize();
    EXPECT_EQ(frameSizes(), (Sizes{4800, 4800}));
    socket().completeSend();
    run();
    EXPECT_EQ(frameSizes(), (Sizes{4800, 4800}));
    socket().completeSend();
    run();
    EXPECT_EQ(frameSizes(), (Sizes{4800, 4800, 100}));
    EXPECT_NE(types().back(), "input_audio_buffer.commit");
    socket().releaseSends();
    run();
    EXPECT_EQ(types().back(), "input_audio_buffer.commit");
    EXPECT_EQ(outcome(task), "waiting");
}

TEST_F(RealtimeAudio, FailsToFinalizeIfTheRestCannotBeSent) {
    start();
    append(100);
    socket().holdSends();
    const auto task = finalize();
    socket().failSend(UrlError(UrlError::Code::networkConnectionLost, "lost"));
    run();
    EXPECT_EQ(outcome(task), "lost");
}

TEST_F(RealtimeAudio, FailsToFinalizeWithoutASession) {
    append(100);
    EXPECT_EQ(errorOf(engine_->finalizeStreamingTranscription()), "engineUnavailable");
    EXPECT_EQ(errorOf(engine_->finalizeStreamingTranscription()), "engineUnavailable");
    EXPECT_TRUE(logged(
        "RealtimeSTT: sendMessage called with no active WebSocket — session likely failed to connect"));
}

TEST_F(RealtimeAudio, DropsTheRestBeforeTheNextUtterance) {
    start();
    append(1000);
    engine_->resetForNextUtterance();
    append(4800);
    run();
    EXPECT_EQ(frameSizes(), Sizes{4800});
    EXPECT_TRUE(engine_->hasReadySession());
    EXPECT_TRUE(logged("RealtimeSTT: Reset for next utterance (session still active)"));
}

TEST_F(RealtimeAudio, DropsAllAudioWithTheSession) {
    start();
    append(1000);
    engine_->cancelSession();
    EXPECT_FALSE(engine_->hasReadySession());
    start();
    append(4800);
    run();
    EXPECT_EQ(frameSizes(), Sizes{4800});
    EXPECT_EQ(network().sockets().front()->cancelCodes().front(), 1001);
}

TEST_F(RealtimeAudio, KeepsTheOrderIfTheCaptureContinuesDuringTheFlush) {
    append(24000);
    // The capture thread appends more audio at the moment when the session becomes ready.
    network().onMessage([this](tests::FakeSocket&, const tests::FakeSocket::Message& message) {
        if (message.bytes.find("session.update") != std::string::npos)
            append(6000);
    });
    start();
    append(6000);
    run();
    const auto sent = joined(audioFrames(socket()));
    EXPECT_EQ(sent, numbered(sent.size()));
    EXPECT_LE(sent.size(), 36000U);
    EXPECT_GT(sent.size(), 36000U - 4800) << "only audio that does not fill a frame yet waits";
    finalize();
    EXPECT_EQ(joined(audioFrames(socket())), numbered(36000));
}

} // namespace sonvale::transcription
