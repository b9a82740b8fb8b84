#include "adapters/freedesktop/MprisMediaPlayers.h"

#include "tests/contract/MediaPlayersContract.h"
#include "tests/contract/freedesktop/BusConnection.h"
#include "tests/contract/freedesktop/ScriptedPlayer.h"
#include "tests/fakes/FakeMediaPlayers.h"
#include "tests/support/MpvPlayer.h"
#include "tests/support/PrivateBus.h"

#include <QCoreApplication>
#include <algorithm>
#include <iostream>
#include <optional>

namespace sonvale::tests {

namespace {

using adapters::freedesktop::MprisMediaPlayers;

class FakeHarness final : public MediaPlayersHarness {
public:
    platform::MediaPlayers& players() override { return fake_; }
    void setPlaying(bool isPlaying) override { fake_.control().report(isPlaying); }
    bool isPlaying() override { return fake_.control().isPlaying(); }
    bool comesTo(const std::function<bool()>& condition) override { return condition(); }

private:
    FakeMediaPlayers fake_;
};

class MpvHarness final : public MediaPlayersHarness {
public:
    platform::MediaPlayers& players() override { return players_; }
    void setPlaying(bool isPlaying) override { mpv_.setPlaying(isPlaying); }
    bool isPlaying() override { return mpv_.status() == "Playing"; }
    bool comesTo(const std::function<bool()>& condition) override { return comesToHold(condition); }

private:
    BusConnection bus_;
    MpvPlayer mpv_{bus_.address(), false};
    MprisMediaPlayers players_{bus_.connection};
};

/// The adapter with scripted players and its reports about them.
class MprisMediaPlayersTest : public testing::Test {
protected:
    MprisMediaPlayersTest() {
        players.setOnPlaybackChange([this](bool isPlaying) { reports.push_back(isPlaying); });
        bus.synchronize();
    }

    /// Waits for this many reports and compares them.
    testing::AssertionResult waitForReports(const std::vector<bool>& wanted) {
        comesToHold([&] { return reports.size() >= wanted.size(); });
        if (reports == wanted)
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "reports: " << testing::PrintToString(reports);
    }

    /// Waits until everything sent so far has arrived: one more player appears, reports and leaves. Then no
    /// player is the last reporter.
    void settle() {
        ScriptedPlayer last(bus.address(), "last");
        last.reportStatus(QStringLiteral("Playing"));
        const auto before = reports.size();
        ASSERT_TRUE(comesToHold([&] { return reports.size() > before; }));
        last.leave();
        ASSERT_TRUE(comesToHold([&] { return reports.size() > before + 1; }));
        reports.resize(reports.size() - 2);
    }

    BusConnection bus;
    std::vector<bool> reports;
    MprisMediaPlayers players{bus.connection};
};

} // namespace

TEST_P(MediaPlayersContract, ReportsThatAPlayerPlaysAndPauses) {
    observe();
    harness->setPlaying(true);
    EXPECT_TRUE(lastReportIs(true));
    harness->setPlaying(false);
    EXPECT_TRUE(lastReportIs(false));
}

TEST_P(MediaPlayersContract, PausesAndThenResumesWithOneCommand) {
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

TEST(MprisMediaPlayers, PausesARealPlayer) {
    BusConnection bus;
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
        // A busy machine may stop this thread; the time limit of a call over the bus is 25 s.
        EXPECT_LT(returned - start, 10);
        ASSERT_TRUE(comesToHold([&] { return !isPlaying; }));
    }
    std::ranges::sort(milliseconds);
    std::cout << "from the command to \"Paused\": median " << milliseconds[milliseconds.size() / 2]
              << " ms, longest " << milliseconds.back() << " ms\n";
    EXPECT_LT(milliseconds[milliseconds.size() / 2], 1000);
}

TEST(MprisMediaPlayers, ReportsNothingThatPlayedBeforeTheFirstReport) {
    BusConnection bus;
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

TEST(MprisMediaPlayers, ReportsARealPlayerThatIsClosedWhilePlaying) {
    BusConnection bus;
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
    // A desktop with a player that the adapter must not find in another way.
    BusConnection bus;
    ScriptedPlayer player(bus.address(), "one");
    MprisMediaPlayers players{QDBusConnection(QStringLiteral("none"))};
    std::vector<bool> reports;
    players.setOnPlaybackChange([&reports](bool isPlaying) { reports.push_back(isPlaying); });
    MprisMediaPlayers others(bus.connection);
    std::vector<bool> reportsToOthers;
    others.setOnPlaybackChange([&](bool isPlaying) { reportsToOthers.push_back(isPlaying); });
    bus.synchronize();
    player.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return !reportsToOthers.empty() && reportsToOthers.back(); }));
    players.togglePlayPause();
    // The player receives this command, and would have received the earlier one first.
    others.togglePlayPause();
    ASSERT_TRUE(comesToHold([&] { return player.toggles() > 0; }));
    EXPECT_EQ(player.toggles(), 1);
    EXPECT_EQ(reports, std::vector<bool>());
}

TEST(MprisMediaPlayers, SurvivesTheEndOfTheBus) {
    auto daemon = std::make_unique<PrivateBus>(std::map<std::string, std::string>{});
    const auto address = daemon->address();
    const auto name = QUuid::createUuid().toString();
    MprisMediaPlayers players{QDBusConnection::connectToBus(QString::fromStdString(address), name)};
    std::vector<bool> reports;
    players.setOnPlaybackChange([&reports](bool isPlaying) { reports.push_back(isPlaying); });
    ScriptedPlayer player(address, "one");
    player.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return !reports.empty(); }));

    daemon.reset();
    ASSERT_TRUE(comesToHold([&] { return !QDBusConnection(name).isConnected(); }));

    const double start = monotonicSeconds();
    players.togglePlayPause();
    QCoreApplication::processEvents();
    EXPECT_LT(monotonicSeconds() - start, 10);
    pauseMilliseconds(100);
    QCoreApplication::processEvents();
    EXPECT_EQ(player.toggles(), 0) << "no command reaches a player in another way";
    QDBusConnection::disconnectFromBus(name);
}

TEST_F(MprisMediaPlayersTest, CountsOnlyPlayingAsPlaying) {
    ScriptedPlayer player(bus.address(), "one");
    for (const auto* status : {"Playing", "Paused", "Playing", "Stopped", "playing", "", "Playing "})
        player.reportStatus(QString::fromLatin1(status));
    EXPECT_TRUE(waitForReports({true, false, true, false, false, false, false}));
}

TEST_F(MprisMediaPlayersTest, CountsAStateOfAnotherTypeAsNotPlaying) {
    const auto status = QStringLiteral("PlaybackStatus");
    ScriptedPlayer player(bus.address(), "one");
    player.reportStatus(QStringLiteral("Playing"));
    player.report({{status, 1}});
    player.report({{status, true}});
    player.report({{status, QStringList{QStringLiteral("Playing")}}});
    player.report({{status, QByteArray("Playing")}});
    player.report({{status, QVariantMap{{status, QStringLiteral("Playing")}}}});
    EXPECT_TRUE(waitForReports({true, false, false, false, false, false}));
}

TEST_F(MprisMediaPlayersTest, IgnoresOtherReports) {
    const auto properties = QStringLiteral("org.freedesktop.DBus.Properties");
    const auto changed = QStringLiteral("PropertiesChanged");
    const auto interface = QStringLiteral("org.mpris.MediaPlayer2.Player");
    const QVariantMap playing{{QStringLiteral("PlaybackStatus"), QStringLiteral("Playing")}};
    ScriptedPlayer player(bus.address(), "one");
    player.report({{QStringLiteral("Volume"), 0.5}});
    player.report({});
    player.send(properties, changed, {});
    player.send(properties, changed, {interface});
    player.send(properties, changed, {interface, 5});
    player.send(properties, changed, {interface, QStringLiteral("Playing"), QStringList{}});
    player.send(properties, changed, {interface, QStringList{QStringLiteral("Playing")}});
    player.send(properties, changed, {QStringLiteral("org.mpris.MediaPlayer2"), playing, QStringList{}});
    player.send(properties, QStringLiteral("Other"), {interface, playing, QStringList{}});
    player.send(interface, changed, {interface, playing, QStringList{}});
    // The list of other changes may be missing.
    player.send(properties, changed, {interface, playing});
    EXPECT_TRUE(waitForReports({true}));
}

TEST_F(MprisMediaPlayersTest, AsksForAStateThatIsOnlyInvalidated) {
    ScriptedPlayer player(bus.address(), "one");
    player.status = QStringLiteral("Playing");
    player.report({}, {QStringLiteral("Metadata"), QStringLiteral("PlaybackStatus")});
    ASSERT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true}; }));
    player.status = 3;
    player.report({}, {QStringLiteral("PlaybackStatus")});
    EXPECT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true, false}; }));
}

TEST_F(MprisMediaPlayersTest, SendsTheCommandToTheLastReporter) {
    ScriptedPlayer first(bus.address(), "first");
    ScriptedPlayer second(bus.address(), "second");
    first.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    second.reportStatus(QStringLiteral("Paused"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 2; }));

    players.togglePlayPause();
    ASSERT_TRUE(comesToHold([&] { return second.toggles() == 1; }));
    EXPECT_EQ(first.toggles(), 0);

    first.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 3; }));
    players.togglePlayPause();
    ASSERT_TRUE(comesToHold([&] { return first.toggles() == 1; }));
    EXPECT_EQ(second.toggles(), 1);
    EXPECT_EQ(reports, (std::vector<bool>{true, false, true}));
}

TEST_F(MprisMediaPlayersTest, DeliversTwoCommandsInARow) {
    ScriptedPlayer player(bus.address(), "one");
    player.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    players.togglePlayPause();
    players.togglePlayPause();
    EXPECT_TRUE(comesToHold([&] { return player.toggles() == 2; }));
}

TEST_F(MprisMediaPlayersTest, SendsNoCommandWhenTheLastReporterHasQuit) {
    ScriptedPlayer first(bus.address(), "first");
    ScriptedPlayer second(bus.address(), "second");
    first.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    second.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 2; }));

    second.leave();
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 3; }));
    players.togglePlayPause();
    settle();
    EXPECT_EQ(reports, (std::vector<bool>{true, true, false}));
    EXPECT_EQ(first.toggles(), 0);
}

TEST_F(MprisMediaPlayersTest, DoesNotReportAStoppedPlayerThatQuits) {
    ScriptedPlayer first(bus.address(), "first");
    ScriptedPlayer second(bus.address(), "second");
    second.reportStatus(QStringLiteral("Paused"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    first.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 2; }));

    second.leave();
    settle();
    EXPECT_EQ(reports, (std::vector<bool>{false, true}));
}

TEST_F(MprisMediaPlayersTest, CountsAPageThatGivesUpItsNameAsEnded) {
    ScriptedPlayer page(bus.address(), "browser.instance7");
    page.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));

    page.giveUpName();

    EXPECT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true, false}; }));
    players.togglePlayPause();
    settle();
    EXPECT_EQ(page.toggles(), 0);
}

TEST_F(MprisMediaPlayersTest, AcceptsAPlayerWithoutAName) {
    ScriptedPlayer player(bus.address(), std::nullopt);
    player.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true}; }));
    players.togglePlayPause();
    EXPECT_TRUE(comesToHold([&] { return player.toggles() == 1; }));
    player.leave();
    EXPECT_TRUE(comesToHold([&] { return reports == std::vector<bool>{true, false}; }));
}

TEST_F(MprisMediaPlayersTest, IgnoresAProxyThatRepeatsOtherPlayers) {
    ScriptedPlayer proxy(bus.address(), "playerctld");
    settle();
    ScriptedPlayer player(bus.address(), "one");
    player.reportStatus(QStringLiteral("Playing"));
    ASSERT_TRUE(comesToHold([&] { return reports.size() == 1; }));
    proxy.reportStatus(QStringLiteral("Playing"));
    settle();
    EXPECT_EQ(reports, std::vector<bool>{true});

    // A player that ran before.
    MprisMediaPlayers later(bus.connection);
    std::vector<bool> laterReports;
    later.setOnPlaybackChange([&laterReports](bool isPlaying) { laterReports.push_back(isPlaying); });
    settle();
    laterReports.clear();
    proxy.reportStatus(QStringLiteral("Playing"));
    proxy.reportStatus(QStringLiteral("Playing"));
    player.reportStatus(QStringLiteral("Paused"));
    ASSERT_TRUE(comesToHold([&] { return !laterReports.empty(); }));
    settle();
    EXPECT_EQ(laterReports, (std::vector<bool>{false, true, false}))
        << "the last two are the settling player's";
}

TEST_F(MprisMediaPlayersTest, DeliversManyReportsInOrder) {
    ScriptedPlayer player(bus.address(), "one");
    std::vector<bool> wanted;
    for (int i = 0; i < 500; ++i) {
        wanted.push_back(i % 3 == 0);
        player.reportStatus(i % 3 == 0 ? QStringLiteral("Playing") : QStringLiteral("Paused"));
    }
    EXPECT_TRUE(waitForReports(wanted));
}

} // namespace sonvale::tests
