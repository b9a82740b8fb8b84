#include "tests/contract/MpvPlayer.h"

#include "tests/support/Files.h"

#include <QDBusMessage>
#include <QDBusReply>
#include <QDBusVariant>
#include <QUuid>
#include <stdexcept>

namespace sonvale::tests {

namespace {

const QString service = QStringLiteral("org.mpris.MediaPlayer2.mpv");
const QString path = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");

ChildProcess::Options mpv(const std::string& busAddress, const std::string& home, bool isPlaying) {
    ChildProcess::Options options;
    options.arguments = {"mpv",
                         "--no-config",
                         "--load-scripts=no",
                         "--script=/usr/lib/mpv-mpris/mpris.so",
                         "--really-quiet",
                         "--vo=null",
                         "--ao=null",
                         isPlaying ? "--pause=no" : "--pause=yes",
                         "av://lavfi:sine"};
    options.environment = {{"DBUS_SESSION_BUS_ADDRESS", busAddress}, {"HOME", home}};
    options.outputFile = home + "/mpv.log";
    return options;
}

} // namespace

MpvPlayer::MpvPlayer(const std::string& busAddress, bool isPlaying)
    : connectionName_(QUuid::createUuid().toString())
    , bus_(QDBusConnection::connectToBus(QString::fromStdString(busAddress), connectionName_))
    , process_(mpv(busAddress, directory_.path(), isPlaying)) {
    const std::string wanted = isPlaying ? "Playing" : "Paused";
    const auto isReady = [&] { return status() == wanted; };
    // On a busy machine its MPRIS script now and then does not come up at all.
    for (int attempts = 3; !eventually(8, isReady); --attempts) {
        if (attempts == 1)
            throw std::runtime_error("mpv did not start: it is \"" + status() + "\"\n" +
                                     contentOf(directory_.path() + "/mpv.log"));
        process_.end();
        process_ = ChildProcess(mpv(busAddress, directory_.path(), isPlaying));
    }
}

MpvPlayer::~MpvPlayer() {
    QDBusConnection::disconnectFromBus(connectionName_);
}

void MpvPlayer::setPlaying(bool isPlaying) {
    bus_.call(QDBusMessage::createMethodCall(service, path, playerInterface,
                                             isPlaying ? QStringLiteral("Play") : QStringLiteral("Pause")));
}

std::string MpvPlayer::status() const {
    auto question = QDBusMessage::createMethodCall(
        service, path, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question << playerInterface << QStringLiteral("PlaybackStatus");
    question.setAutoStartService(false);
    const QDBusReply<QDBusVariant> reply = bus_.call(question, QDBus::Block, 1000);
    return reply.isValid() ? reply.value().variant().toString().toStdString() : std::string();
}

} // namespace sonvale::tests
