#include "adapters/freedesktop/QtBus.h"

#include "tests/contract/freedesktop/BusConnection.h"
#include "tests/contract/freedesktop/ScriptedPlayer.h"

#include <gtest/gtest.h>

#include <QDBusVariant>
#include <memory>
#include <string>

namespace sonvale::adapters::freedesktop {

namespace {

using tests::BusConnection;
using tests::comesToHold;
using tests::ScriptedPlayer;

const QString playerName = QStringLiteral("org.mpris.MediaPlayer2.one");

class QtBusTest : public testing::Test {
protected:
    QDBusMessage statusQuestion(const QString& service) const {
        return propertyQuestion(service, QStringLiteral("/org/mpris/MediaPlayer2"),
                                QStringLiteral("org.mpris.MediaPlayer2.Player"),
                                QStringLiteral("PlaybackStatus"));
    }

    /// Asks for the player's owner and waits for the answer. Earlier questions to the bus are then answered.
    QString askForPlayer() {
        QString name;
        QObject asker;
        askBus<QString>(bus.connection, nameOwnerQuestion(playerName), &asker,
                        [&name](const QString& answer) { name = answer; });
        EXPECT_TRUE(comesToHold([&] { return !name.isEmpty(); }));
        return name;
    }

    BusConnection bus;
    ScriptedPlayer player{bus.address(), "one"};
    QObject owner;
};

} // namespace

TEST_F(QtBusTest, AsksForTheOwnerOfANameAndForItsProperties) {
    player.status = QStringLiteral("Playing");
    const auto name = askForPlayer();
    QVariant status;
    askBus<QDBusVariant>(bus.connection, statusQuestion(name), &owner,
                         [&status](const QDBusVariant& answer) { status = answer.variant(); });
    EXPECT_TRUE(comesToHold([&] { return status.isValid(); }));
    EXPECT_EQ(status.toString().toStdString(), "Playing");
}

TEST_F(QtBusTest, IgnoresErrorsAndAnswersOfAnotherType) {
    bool isCalled = false;
    askBus<QString>(bus.connection, nameOwnerQuestion(QStringLiteral("org.example.missing")), &owner,
                    [&isCalled](const QString&) { isCalled = true; });
    askBus<bool>(bus.connection, nameOwnerQuestion(playerName), &owner,
                 [&isCalled](bool) { isCalled = true; });
    askForPlayer();
    EXPECT_FALSE(isCalled);
}

TEST_F(QtBusTest, DoesNotAnswerADestroyedOwner) {
    bool isCalled = false;
    auto asker = std::make_unique<QObject>();
    askBus<QString>(bus.connection, nameOwnerQuestion(playerName), asker.get(),
                    [&isCalled](const QString&) { isCalled = true; });
    asker.reset();
    askForPlayer();
    EXPECT_FALSE(isCalled);
}

TEST(PropertiesIn, RefusesArgumentsOfAnotherForm) {
    EXPECT_EQ(propertiesIn(QVariant()), std::nullopt);
    EXPECT_EQ(propertiesIn(QStringLiteral("Playing")), std::nullopt);
    EXPECT_EQ(propertiesIn(QVariantMap{{QStringLiteral("a"), 1}}), std::nullopt) << "not received over D-Bus";
}

} // namespace sonvale::adapters::freedesktop
