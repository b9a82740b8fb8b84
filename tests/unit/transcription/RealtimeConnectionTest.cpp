#include "transcription/RealtimeConnection.h"

#include "tests/fakes/FakeUrlSessions.h"
#include "tests/support/TestRuntime.h"

#include <gtest/gtest.h>

#include <optional>

namespace sonvale::transcription {

namespace {

class RealtimeConnectionTest : public testing::Test {
protected:
    using Socket = RealtimeConnection::Socket;

    /// Begins a session with a socket of its own and returns its number.
    std::uint64_t attach() {
        const auto session = connection_->begin();
        const auto urlSession = sessions_.makeEphemeral();
        connection_->attach(session, urlSession->webSocketTask({}), urlSession);
        return session;
    }
    std::uint64_t makeReady() {
        const auto session = attach();
        EXPECT_TRUE(connection_->becomeReady(session, {}, "de"));
        return session;
    }
    bool append(std::size_t bytes) {
        base::WipedBytes pcm(bytes, 'a');
        return connection_->append(pcm);
    }
    tests::FakeSocket& lastSocket() { return *sessions_.control().lastSocket(); }

    tests::TestRuntime runtime_;
    tests::FakeUrlSessions sessions_;
    std::optional<RealtimeConnection> connection_{std::in_place, runtime_.clock()};
};

} // namespace

TEST_F(RealtimeConnectionTest, CutsChunksOnlyForAReadySession) {
    const auto session = attach();
    EXPECT_FALSE(append(OutgoingAudio::targetChunkBytes));
    EXPECT_FALSE(connection_->takeChunk());
    ASSERT_TRUE(connection_->becomeReady(session, {}, "de"));
    EXPECT_EQ(connection_->cutWholeChunks(), 1U);
    EXPECT_TRUE(append(OutgoingAudio::targetChunkBytes));
    EXPECT_EQ(connection_->takeChunk()->socket, connection_->socketOf(session));
}

TEST_F(RealtimeConnectionTest, SendsAChunkToTheSocketThatWasOpenWhenItWasCut) {
    const auto session = makeReady();
    const auto socket = connection_->socketOf(session);
    ASSERT_TRUE(append(OutgoingAudio::targetChunkBytes));
    makeReady();
    EXPECT_EQ(connection_->takeChunk()->socket, socket);
}

TEST_F(RealtimeConnectionTest, IgnoresAnOvertakenSession) {
    const auto overtaken = attach();
    const auto present = makeReady();
    append(10);
    EXPECT_THROW(connection_->requireCurrent(overtaken), runtime::CancellationError);
    EXPECT_THROW(connection_->attach(overtaken, nullptr, nullptr), runtime::CancellationError);
    EXPECT_THROW(connection_->socketOf(overtaken), runtime::CancellationError);
    EXPECT_THROW(connection_->takeRest(overtaken), runtime::CancellationError);
    EXPECT_FALSE(connection_->becomeReady(overtaken, {}, "en"));
    EXPECT_EQ(connection_->giveUp(overtaken), nullptr);
    EXPECT_EQ(connection_->current(), present);
    EXPECT_TRUE(connection_->isReady("de"));
    EXPECT_FALSE(connection_->wasDropped());
    EXPECT_EQ(connection_->takeRest(present).pcm.size(), 10U);
}

TEST_F(RealtimeConnectionTest, IsOvertakenByItsEnd) {
    const auto session = makeReady();
    const auto socket = connection_->socketOf(session);
    EXPECT_EQ(connection_->end().socket, socket);
    EXPECT_THROW(connection_->requireCurrent(session), runtime::CancellationError);
    EXPECT_EQ(connection_->end().socket, nullptr);
    EXPECT_FALSE(connection_->isOpen());
}

TEST_F(RealtimeConnectionTest, KeepsTheAudioOfAnOpeningAndWipesItAtTheEnd) {
    append(10);
    EXPECT_EQ(connection_->takeRest(connection_->begin()).pcm.size(), 10U);
    const auto session = makeReady();
    append(10);
    connection_->endAudio();
    EXPECT_FALSE(connection_->isOpen());
    EXPECT_TRUE(connection_->takeRest(session).pcm.empty());
}

TEST_F(RealtimeConnectionTest, IsReadyInItsLanguageUntilTheMachineSleeps) {
    makeReady();
    EXPECT_TRUE(connection_->isReady("de"));
    EXPECT_FALSE(connection_->isReady("en"));
    EXPECT_FALSE(connection_->isReady(std::nullopt));
    runtime_.clock().sleepThrough(0.4);
    EXPECT_TRUE(connection_->isReady("de")) << "two readings of the clock differ by as much";
    runtime_.clock().sleepThrough(0.2);
    EXPECT_FALSE(connection_->isReady("de"));
    EXPECT_TRUE(connection_->isOpen());
}

TEST_F(RealtimeConnectionTest, GivesUpASessionThatTakesNoAudio) {
    const auto session = makeReady();
    EXPECT_EQ(connection_->giveUp(session), connection_->socketOf(session));
    EXPECT_FALSE(connection_->isOpen());
    EXPECT_TRUE(connection_->wasDropped());
    connection_->forgetDrop();
    EXPECT_FALSE(connection_->wasDropped());
}

TEST_F(RealtimeConnectionTest, IgnoresTheEndOfAStaleSocket) {
    const auto stale = connection_->socketOf(attach());
    const auto socket = connection_->socketOf(makeReady());
    EXPECT_TRUE(connection_->isStale(stale));
    EXPECT_FALSE(connection_->drop(stale));
    EXPECT_FALSE(connection_->endReceiving(stale));
    EXPECT_TRUE(connection_->isOpen());
    EXPECT_FALSE(connection_->wasDropped());

    EXPECT_FALSE(connection_->isStale(socket));
    EXPECT_TRUE(connection_->drop(socket));
    EXPECT_TRUE(connection_->endReceiving(socket));
    EXPECT_FALSE(connection_->isOpen());
    EXPECT_TRUE(connection_->wasDropped());
}

TEST_F(RealtimeConnectionTest, ReturnsTheTimeOfItsOpeningOnce) {
    EXPECT_EQ(connection_->takeOpenedAt(), std::nullopt);
    runtime_.clock().advance(3);
    const double now = runtime_.clock().now();
    makeReady();
    runtime_.clock().advance(3);
    EXPECT_EQ(connection_->takeOpenedAt(), now);
    EXPECT_EQ(connection_->takeOpenedAt(), std::nullopt);
}

TEST_F(RealtimeConnectionTest, ClosesTheSessionWhenDestroyed) {
    makeReady();
    connection_.reset();
    EXPECT_EQ(lastSocket().cancelCodes().front(), 1001);
    EXPECT_TRUE(sessions_.control().sessions().back().isInvalidated);
}

} // namespace sonvale::transcription
