#include "adapters/freedesktop/MprisMediaPlayers.h"

#include "adapters/freedesktop/QtBus.h"

#include <QDBusMessage>
#include <QDBusVariant>
#include <QStringList>

namespace sonvale::adapters::freedesktop {

namespace {

const QString playerNames = QStringLiteral("org.mpris.MediaPlayer2*");
const QString playerPath = QStringLiteral("/org/mpris/MediaPlayer2");
const QString playerInterface = QStringLiteral("org.mpris.MediaPlayer2.Player");
const QString playbackStatus = QStringLiteral("PlaybackStatus");

/// playerctld repeats the reports of the other players under its own name.
const QString proxyName = QStringLiteral("org.mpris.MediaPlayer2.playerctld");

} // namespace

MprisMediaPlayers::MprisMediaPlayers(const QDBusConnection& bus)
    : bus_(bus) {
    if (!bus_.isConnected())
        return;
    owners_.setConnection(bus_);
    owners_.setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    owners_.addWatchedService(playerNames);
    connect(&owners_, &QDBusServiceWatcher::serviceOwnerChanged, this, &MprisMediaPlayers::ownerChanged);
    // From every sender: for a named sender Qt would ask for the owner of the name and wait for the answer.
    bus_.connect(QString(), playerPath, propertiesInterface, QStringLiteral("PropertiesChanged"),
                 {playerInterface}, QString(), this, SLOT(propertiesChanged(QDBusMessage)));
    askForProxy();
}

void MprisMediaPlayers::setOnPlaybackChange(std::function<void(bool isPlaying)> observer) {
    observer_ = std::move(observer);
}

void MprisMediaPlayers::togglePlayPause() {
    if (lastReporter_.isEmpty())
        return;
    auto command = QDBusMessage::createMethodCall(lastReporter_, playerPath, playerInterface,
                                                  QStringLiteral("PlayPause"));
    command.setAutoStartService(false);
    bus_.send(command);
}

void MprisMediaPlayers::propertiesChanged(const QDBusMessage& message) {
    const auto player = message.service();
    const auto arguments = message.arguments();
    if (player == proxy_ || arguments.size() < 2)
        return;
    const auto changed = propertiesIn(arguments[1]);
    if (!changed)
        return;
    if (const auto status = changed->constFind(playbackStatus); status != changed->cend())
        report(player, *status);
    else if (arguments.value(2).toStringList().contains(playbackStatus))
        askForState(player);
}

void MprisMediaPlayers::askForProxy() {
    // An error means that it does not run. Its start is announced.
    askBus<QString>(bus_, nameOwnerQuestion(proxyName), this,
                    [this](const QString& owner) { ownerChanged(proxyName, QString(), owner); });
}

void MprisMediaPlayers::askForState(const QString& player) {
    // A player that does not answer has quit, or has no state to report.
    askBus<QDBusVariant>(bus_, propertyQuestion(player, playerPath, playerInterface, playbackStatus), this,
                         [this, player](const QDBusVariant& state) { report(player, state.variant()); });
}

void MprisMediaPlayers::report(const QString& player, const QVariant& status) {
    const bool isPlaying =
        status.metaType() == QMetaType::fromType<QString>() && status.toString() == QStringLiteral("Playing");
    if (isPlaying_.insert_or_assign(player, isPlaying).second)
        owners_.addWatchedService(player);
    lastReporter_ = player;
    if (observer_)
        observer_(isPlaying);
}

void MprisMediaPlayers::ownerChanged(const QString& name, const QString& oldOwner, const QString& newOwner) {
    if (name == proxyName) {
        proxy_ = newOwner;
        forget(newOwner);
        return;
    }
    // A browser gives up the name and keeps its connection when the playing page is closed.
    forget(oldOwner);
}

void MprisMediaPlayers::forget(const QString& player) {
    const auto known = isPlaying_.find(player);
    if (known == isPlaying_.end())
        return;
    const bool wasPlaying = known->second;
    isPlaying_.erase(known);
    owners_.removeWatchedService(player);
    if (lastReporter_ == player)
        lastReporter_.clear();
    if (wasPlaying && observer_)
        observer_(false);
}

} // namespace sonvale::adapters::freedesktop
