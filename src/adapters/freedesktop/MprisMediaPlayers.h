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

/// The players that support MPRIS 2.2 (freedesktop.org): each reports its `PlaybackStatus` on the session bus
/// and obeys `PlayPause`. Main actor; the event loop delivers the reports.
///
/// Nothing here waits for the bus or a player. A state that is not a text counts as not "Playing". Without a
/// session bus there are no players.
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
    QDBusServiceWatcher owners_; ///< owners of the players' names, and connections that have reported
    std::function<void(bool)> observer_;
    std::map<QString, bool> isPlaying_; ///< by the player's connection
    QString lastReporter_;              ///< empty if there is none
    QString proxy_;
};

} // namespace sonvale::adapters::freedesktop
