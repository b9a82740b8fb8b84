#include "transcription/OutgoingAudio.h"

#include "tests/fakes/FakeUrlSessions.h"

#include <gtest/gtest.h>

namespace sonvale::transcription {

namespace {

class OutgoingAudioTest : public testing::Test {
protected:
    static constexpr auto chunkBytes = OutgoingAudio::targetChunkBytes;

    void append(std::size_t bytes, char value) {
        base::WipedBytes pcm(bytes, value);
        audio_.append(pcm);
        EXPECT_TRUE(pcm.empty());
    }

    tests::FakeUrlSessions sessions_;
    OutgoingAudio::Socket socket_ = sessions_.makeEphemeral()->webSocketTask({});
    OutgoingAudio audio_;
};

} // namespace

TEST_F(OutgoingAudioTest, CutsTheRestOnlyIfItFillsAChunk) {
    append(chunkBytes - 2, 'a');
    EXPECT_FALSE(audio_.cutRest(socket_));
    EXPECT_FALSE(audio_.takeChunk());
    append(4, 'b');
    EXPECT_TRUE(audio_.cutRest(socket_));
    const auto chunk = audio_.takeChunk();
    ASSERT_TRUE(chunk);
    EXPECT_EQ(chunk->pcm, base::WipedBytes(chunkBytes - 2, 'a') + "bbbb") << "of its whole length";
    EXPECT_EQ(chunk->socket, socket_);
    EXPECT_TRUE(audio_.takeRest().empty());
}

TEST_F(OutgoingAudioTest, CutsWholeChunksAndKeepsTheTail) {
    append(chunkBytes, 'a');
    append(chunkBytes, 'b');
    append(6, 'c');
    EXPECT_EQ(audio_.cutWholeChunks(socket_), 2U);
    EXPECT_EQ(audio_.cutWholeChunks(socket_), 0U);
    EXPECT_EQ(audio_.takeChunk()->pcm, base::WipedBytes(chunkBytes, 'a'));
    EXPECT_EQ(audio_.takeChunk()->pcm, base::WipedBytes(chunkBytes, 'b'));
    EXPECT_FALSE(audio_.takeChunk());
    EXPECT_EQ(audio_.takeRest(), "cccccc");
    EXPECT_TRUE(audio_.takeRest().empty());
}

TEST_F(OutgoingAudioTest, KeepsTheChunksWhenItWipesTheRest) {
    append(chunkBytes, 'a');
    ASSERT_TRUE(audio_.cutRest(socket_));
    append(6, 'b');
    audio_.wipeRest();
    EXPECT_TRUE(audio_.takeRest().empty());
    EXPECT_EQ(audio_.takeChunk()->pcm.size(), chunkBytes);
}

} // namespace sonvale::transcription
