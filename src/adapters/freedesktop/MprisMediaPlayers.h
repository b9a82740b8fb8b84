#pragma once

#include "platform/MediaPlayers.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>
#include <functional>
#include <map>

class QDBusMessage;

namespace sonvale::adapters::freedesktop {

/// The players that speak MPRIS 2.2 (freedesktop.org): each says on the session
/// bus by `PlaybackStatus` what it does, and obeys `PlayPause`. Main actor; the event loop brings the
/// reports.
///
/// Nothing here waits for the bus or a player. A state of another type than text is taken for one that is not
/// "Playing". Without a session bus there are no players.
class MprisMediaPlayers final : public QObject, public platform::MediaPlayers {
    Q_OBJECT

public:
    explicit MprisMediaPlayers(const QDBusConnection& bus = QDBusConnection::sessionBus());

    void setOnPlaybackChange(std::function<void(bool isPlaying)> observer) override;
    void togglePlayPause() override;

private:
    Q_SLOT void propertiesChanged(const QDBusMessage& message);
    void askForProxy();
    void askForState(const QString& player);
    void report(const QString& player, const QVariant& status);
    void ownerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    void forget(const QString& player);

    QDBusConnection bus_;
    QDBusServiceWatcher owners_; ///< of the names of players, and of the connections that have reported
    std::function<void(bool)> observer_;
    std::map<QString, bool> isPlaying_; ///< by the player's connection to the bus
    QString lastReporter_;              ///< empty for none
    QString proxy_;
};

} // namespace sonvale::adapters::freedesktop
