#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QVariantMap>
#include <optional>
#include <string>

namespace sonvale::tests {

/// A player on the session bus that reports what a test says, in any form.
class ScriptedPlayer final : public QDBusVirtualObject {
public:
    /// `name` follows "org.mpris.MediaPlayer2."; without one this is a connection that only sends.
    ScriptedPlayer(const std::string& busAddress, const std::optional<std::string>& name);
    ~ScriptedPlayer() override;

    /// Sends a PropertiesChanged signal about these properties of the player's interface.
    void report(const QVariantMap& changed, const QStringList& invalidated = {});
    void reportStatus(const QString& value) { report({{QStringLiteral("PlaybackStatus"), value}}); }
    /// Sends any other signal from the player's path.
    void send(const QString& interface, const QString& member, const QVariantList& arguments);

    void giveUpName();
    /// Leaves the bus.
    void leave();

    /// Its answer to a question for its state.
    QVariant status = QStringLiteral("Stopped");
    int toggles() const { return toggles_; }

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    const QString connectionName_;
    const QString service_;
    QDBusConnection bus_;
    int toggles_ = 0;
};

} // namespace sonvale::tests
