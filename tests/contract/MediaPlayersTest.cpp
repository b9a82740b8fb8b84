#include "adapters/freedesktop/MprisMediaPlayers.h"

#include "tests/contract/MediaPlayersContract.h"
#include "tests/contract/freedesktop/ScriptedPlayer.h"
#include "tests/fakes/FakeMediaPlayers.h"
#include "tests/support/MpvPlayer.h"
#include "tests/support/PrivateBus.h"

#include <QCoreApplication>
#include <QUuid>
#include <algorithm>
#include <iostream>
#include <optional>

namespace sonvale::tests {

namespace {

using adapters::freedesktop::MprisMediaPlayers;

bool comesToHold(const std::function<bool()>& condition) {
    return eventually(10, [&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

class FakeHarness final : public MediaPlayersHarness {
public:
    platform::MediaPlayers& players() override { return fake_; }
    void setPlaying(bool isPlaying) override { fake_.control().report(isPlaying); }
    bool isPlaying() override { return fake_.control().isPlaying(); }
    bool comesTo(const std::function<bool()>& condition) override { return condition(); }

private:
    FakeMediaPlayers fake_;
};

/// A connection of the adapter's own to a session bus of the test's own.
class Bus {
public:
    Bus()
        : connection(QDBusConnection::connectToBus(QString::fromStdString(bus_.address()), name_)) {}
    ~Bus() { QDBusConnection::disconnectFromBus(name_); }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    std::string address() const { return bus_.address(); }

private:
    PrivateBus bus_{{}};
    const QString name_ = QUuid::createUuid().toString();

public:
    QDBusConnection connection;
};

class MpvHarness final : public MediaPlayersHarness {
public:
    platform::MediaPlayers& players() override { return players_; }
    void setPlaying(bool isPlaying) override { mpv_.setPlaying(isPlaying); }
    bool isPlaying() override { return mpv_.status() == "Playing"; }
    bool comesTo(const std::function<bool()>& condition) override { return comesToHold(condition); }

private:
    Bus bus_;
    MpvPlayer mpv_{bus_.address(), false};
    MprisMediaPlayers players_{bus_.connection};
};

/// The adapter with scripted players and what it reports of them.
class MprisMediaPlayersTest : public testing::Test {
protected:
    MprisMediaPlayersTest() {
        players.setOnPlaybackChange([this](bool isPlaying) { reports.push_back(isPlaying); });
    }

    /// Waits for as many reports and says whether they are these.
    testing::AssertionResult reportsComeToBe(const std::vector<bool>& wanted) {
        comesToHold([&] { return reports.size() >= wanted.size(); });
        if (reports == wanted)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "reports: " << testing::PrintToString(reports);
    }

    /// Gives what was sent up to now the time to arrive: one more player comes, reports and leaves. Then no
    /// player is the last that reported.
    void settle() {
        ScriptedPlayer last(bus.address(), "last");
        last.tellStatus(QStringLiteral("Playing"));
        const auto before = reports.size();
        ASSERT_TRUE(comesToHold([&] { return reports.size() > before; }));
        last.leave();
        ASSERT_TRUE(comesToHold([&] { return reports.size() > before + 1; }));
        reports.resize(reports.size() - 2);
    }

    Bus bus;
    std::vector<bool> reports;
    MprisMediaPlayers players{bus.connection};
};

} // namespace

TEST_P(MediaPlayersContract, TellsThatAPlayerPlaysAndThatItPauses) {
    observe();
    harness->setPlaying(true);
    EXPECT_TRUE(lastReportIs(true));
    harness->setPlaying(false);
    EXPECT_TRUE(lastReportIs(false));
}

TEST_P(MediaPlayersContract, OneCommandPausesAndThenResumes) {
    observe();
    harness->setPlaying(true);
    ASSERT_TRUE(lastReportIs(true));

    players.togglePlayPause();
    EXPECT_TRUE(playerComesToPlay(false));
    EXPECT_TRUE(lastReportIs(false));

    players.togglePlayPause();
    EXPECT_TRUE(playerComesToPlay(true));
    EXPECT_TRUE(lastReportIs(true));
}

INSTANTIATE_TEST_SUITE_P(
    , MediaPlayersContract,
    testing::Values(MediaPlayersMaker{"Fake", [] { return std::make_unique<FakeHarness>(); }},
                    MediaPlayersMaker{"Mpv", [] { return std::make_unique<MpvHarness>(); }}),
    [](const auto& info) { return info.param.name; });

TEST(MprisMediaPlayers, PausesARealPlayerSoon) {
    Bus bus;
    MpvPlayer mpv(bus.address(), false);
    MprisMediaPlayers players(bus.connection);
    bool isPlaying = false;
    players.setOnPlaybackChange([&isPlaying](bool state) { isPlaying = state; });

    std::vector<double> milliseconds;
    for (int run = 0; run < 11; ++run) {
        mpv.setPlaying(true);
        ASSERT_TRUE(comesToHold([&] { return isPlaying; }));
        const double start = monotonicSeconds();
        players.togglePlayPause();
        const double returned = monotonicSeconds();
        while (mpv.status() != "Paused" && monotonicSeconds() < start + 10) {
        }
        milliseconds.push_back((monotonicSeconds() - start) * 1000);
        // A machine that is busy may stop this thread; the time-out of a call over the bus is 25 s.
        EXPECT_LT(returned - start, 10);
        ASSERT_TRUE(comesToHold([&] { return !isPlaying; }));
    }
    std::ranges::sort(milliseconds);
    std::cout << "from the command to \"Paused\": median " << milliseconds[milliseconds.size() / 2]
              << " ms, longest " << milliseconds.back() << " ms\n";
    EXPECT_LT(milliseconds[milliseconds.size() / 2], 1000);
}

TEST(MprisMediaPlayers, TellsNothingOfWhatPlayedBeforeTheFirstReport) {
    Bus bus;
    const MpvPlayer mpv(bus.address(), true);
    // It reports its states a tenth of a second late.
    pauseMilliseconds(500);
    MprisMediaPlayers players(bus.connection);
    std::vector<bool> reports;
    players.setOnPlaybackChange([&reports](bool isPlaying) { reports.push_back(isPlaying); });
    QCoreApplication::processEvents();

    players.togglePlayPause();
    pauseMilliseconds(300);
    QCoreApplication::processEvents();

    EXPECT_EQ(reports, std::vector<bool>{});
    EXPECT_EQ(mpv.status(), "Playing");
}

TEST(MprisMediaPlayers, TellsOfARealPlayerThatIsClosedWhileItPlays) {
    Bus bus;
    MpvPlayer mpv(bus.address(), false);
    MprisMediaPlayers players(bus.connection);
    std::vector<bool> reports;
    players.setOnPlaybackChange([&reports](bool isPlaying) { reports.push_back(isPlaying); });
    mpv.setPlaying(true);
    ASSERT_TRUE(comesToHold([&] { return !reports.empty() && reports.back(); }));

    mpv.quit();

    EXPECT_TRUE(comesToHold([&] { return !reports.back(); }));
    players.togglePlayPause();
}

TEST(MprisMediaPlayers, WorksWithoutASessionBus) {
    // A desktop with a player that it must not find by another way.
    Bus bus;
    ScriptedPlayer player(bus.address(), "one");
    MprisMediaPlayers players{QDBusConnection(QStringLiteral("none"))};
    std::vector<bool> reports;
    players.setOnPlaybackChange([&reports](bool isPlaying) { reports.push_back(isPlaying); });
    MprisMediaPlayers others(bus.connection);
    std::vector<bool> reportsToOthers;
    others.setOnPlaybackChange([&](bool isPlaying) { reportsToOthers.push_back(isPlaying); });
    player.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return !reportsToOthers.empty() && reportsToOthers.back(); }));
    players.togglePlayPause();
    // The player hears this command, and would have heard the one before it first.
    others.togglePlayPause();
    ASSERT_TRUE(comesToHold([&] { return player.toggles() > 0; }));
    EXPECT_EQ(player.toggles(), 1);
    EXPECT_EQ(reports, std::vector<bool>());
}

TEST(MprisMediaPlayers, OutlivesItsBus) {
    auto daemon = std::make_unique<PrivateBus>(std::map<std::string, std::string>{});
    const auto address = daemon->address();
    const auto name = QUuid::createUuid().toString();
    MprisMediaPlayers players{QDBusConnection::connectToBus(QString::fromStdString(address), name)};
    std::vector<bool> reports;
    players.setOnPlaybackChange([&reports](bool isPlaying) { reports.push_back(isPlaying); });
    ScriptedPlayer player(address, "one");
    player.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return !reports.empty(); }));

    daemon.reset();
    ASSERT_TRUE(comesToHold([&] { return !QDBusConnection(name).isConnected(); }));

    const double start = monotonicSeconds();
    players.togglePlayPause();
    QCoreApplication::processEvents();
    EXPECT_LT(monotonicSeconds() - start, 10);
    pauseMilliseconds(100);
    QCoreApplication::processEvents();
    EXPECT_EQ(player.toggles(), 0) << "no command reaches a player by another way";
    QDBusConnection::disconnectFromBus(name);
}

TEST_F(MprisMediaPlayersTest, OnlyPlayingIsPlaying) {
    ScriptedPlayer player(bus.address(), "one");
    for (const auto* status : {"Playing", "Paused", "Playing", "Stopped", "playing", "", "Playing "})
        player.tellStatus(QString::fromLatin1(status));
    EXPECT_TRUE(reportsComeToBe({true, false, true, false, false, false, false}));
}

TEST_F(MprisMediaPlayersTest, AStateOfAnotherTypeIsNotPlaying) {
    const auto status = QStringLiteral("PlaybackStatus");
    ScriptedPlayer player(bus.address(), "one");
    player.tellStatus(QStringLiteral("Playing"));
    player.tell({{status, 1}});
    player.tell({{status, true}});
    player.tell({{status, QStringList{QStringLiteral("Playing")}}});
    player.tell({{status, QByteArray("Playing")}});
    player.tell({{status, QVariantMap{{status, QStringLiteral("Playing")}}}});
    EXPECT_TRUE(reportsComeToBe({true, false, false, false, false, false}));
}

TEST_F(MprisMediaPlayersTest, WhatIsNoReportOfAStateIsPassedOver) {
    const auto properties = QStringLiteral("org.freedesktop.DBus.Properties");
    const auto changed = QStringLiteral("PropertiesChanged");
    const auto interface = QStringLiteral("org.mpris.MediaPlayer2.Player");
    const QVariantMap playing{{QStringLiteral("PlaybackStatus"), QStringLiteral("Playing")}};
    ScriptedPlayer player(bus.address(), "one");
    player.tell({{QStringLiteral("Volume"), 0.5}});
    player.tell({});
    player.send(properties, changed, {});
    player.send(properties, changed, {interface});
    player.send(properties, changed, {interface, 5});
    player.send(properties, changed, {interface, QStringLiteral("Playing"), QStringList{}});
    player.send(properties, changed, {interface, QStringList{QStringLiteral("Playing")}});
    player.send(properties, changed, {QStringLiteral("org.mpris.MediaPlayer2"), playing, QStringList{}});
    player.send(properties, QStringLiteral("Other"), {interface, playing, QStringList{}});
    player.send(interface, changed, {interface, playing, QStringList{}});
    // A list of what else has changed may be missing.
    player.send(properties, changed, {interface, playing});
    EXPECT_TRUE(reportsComeToBe({true}));
}

TEST_F(MprisMediaPlayersTest, AsksForAStateThatAPlayerOnlyCallsChanged) {
    ScriptedPlayer player(bus.address(), "one");
    player.status = QStringLiteral("Playing");
    player.tell({}, {QStringLiteral("Metadata"), QStringLiteral("PlaybackStatus")});
    ASSERT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true}; }));
    player.status = 3;
    player.tell({}, {QStringLiteral("PlaybackStatus")});
    EXPECT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true, false}; }));
}

TEST_F(MprisMediaPlayersTest, TheCommandGoesToThePlayerThatReportedLast) {
    ScriptedPlayer first(bus.address(), "first");
    ScriptedPlayer second(bus.address(), "second");
    first.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    second.tellStatus(QStringLiteral("Paused"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 2; }));

    players.togglePlayPause();
    ASSERT_TRUE(comesToHold([&] { return second.toggles() == 1; }));
    EXPECT_EQ(first.toggles(), 0);

    first.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 3; }));
    players.togglePlayPause();
    ASSERT_TRUE(comesToHold([&] { return first.toggles() == 1; }));
    EXPECT_EQ(second.toggles(), 1);
    EXPECT_EQ(reports, (std::vector<bool>{true, false, true}));
}

TEST_F(MprisMediaPlayersTest, TwoCommandsInARowBothArrive) {
    ScriptedPlayer player(bus.address(), "one");
    player.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    players.togglePlayPause();
    players.togglePlayPause();
    EXPECT_TRUE(comesToHold([&] { return player.toggles() == 2; }));
}

TEST_F(MprisMediaPlayersTest, TheCommandGoesToNobodyWhenThePlayerThatReportedLastIsGone) {
    ScriptedPlayer first(bus.address(), "first");
    ScriptedPlayer second(bus.address(), "second");
    first.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    second.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 2; }));

    second.leave();
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 3; }));
    players.togglePlayPause();
    settle();
    EXPECT_EQ(reports, (std::vector<bool>{true, true, false}));
    EXPECT_EQ(first.toggles(), 0);
}

TEST_F(MprisMediaPlayersTest, APlayerThatLeavesAndDoesNotPlayIsNotReported) {
    ScriptedPlayer first(bus.address(), "first");
    ScriptedPlayer second(bus.address(), "second");
    second.tellStatus(QStringLiteral("Paused"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    first.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 2; }));

    second.leave();
    settle();
    EXPECT_EQ(reports, (std::vector<bool>{false, true}));
}

TEST_F(MprisMediaPlayersTest, APageThatGivesUpItsNameHasLeft) {
    ScriptedPlayer page(bus.address(), "browser.instance7");
    page.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));

    page.giveUpName();

    EXPECT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true, false}; }));
    players.togglePlayPause();
    settle();
    EXPECT_EQ(page.toggles(), 0);
}

TEST_F(MprisMediaPlayersTest, APlayerWithoutANameIsOneToo) {
    ScriptedPlayer player(bus.address(), std::nullopt);
    player.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true}; }));
    players.togglePlayPause();
    EXPECT_TRUE(comesToHold([&] { return player.toggles() == 1; }));
    player.leave();
    EXPECT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true, false}; }));
}

TEST_F(MprisMediaPlayersTest, AProxyThatRepeatsTheOthersIsNoPlayer) {
    ScriptedPlayer proxy(bus.address(), "playerctld");
    settle();
    ScriptedPlayer player(bus.address(), "one");
    player.tellStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    proxy.tellStatus(QStringLiteral("Playing"));
    settle();
    EXPECT_EQ(reports, std::vector<bool>{true});

    // One that ran before.
    MprisMediaPlayers later(bus.connection);
    std::vector<bool> laterReports;
    later.setOnPlaybackChange([&laterReports](bool isPlaying) { laterReports.push_back(isPlaying); });
    settle();
    laterReports.clear();
    proxy.tellStatus(QStringLiteral("Playing"));
    proxy.tellStatus(QStringLiteral("Playing"));
    player.tellStatus(QStringLiteral("Paused"));
    ASSERT_TRUE(comesToHold([&] { return !laterReports.empty(); }));
    settle();
    EXPECT_EQ(laterReports, (std::vector<bool>{false, true, false}))
        << "the last two are the settling player's";
}

TEST_F(MprisMediaPlayersTest, ManyReportsInOneGoAllArriveInOrder) {
    ScriptedPlayer player(bus.address(), "one");
    std::vector<bool> wanted;
    for (int i = 0; i < 500; ++i) {
        wanted.push_back(i % 3 == 0);
        player.tellStatus(i % 3 == 0 ? QStringLiteral("Playing") : QStringLiteral("Paused"));
    }
    EXPECT_TRUE(reportsComeToBe(wanted));
}

} // namespace sonvale::tests
