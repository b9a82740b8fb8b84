#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QVariantMap>
#include <optional>
#include <string>

namespace sonvale::tests {

/// A player on the session bus that says what a test tells it to say, in whatever form.
class ScriptedPlayer final : public QDBusVirtualObject {
public:
    /// `name` follows "org.mpris.MediaPlayer2."; without one it is a connection that only sends.
    ScriptedPlayer(const std::string& busAddress, const std::optional<std::string>& name);
    ~ScriptedPlayer() override;

    /// A PropertiesChanged signal about these properties of the player's interface.
    void tell(const QVariantMap& changed, const QStringList& invalidated = {});
    void tellStatus(const QString& value) { tell({{QStringLiteral("PlaybackStatus"), value}}); }
    /// Any other signal from the player's place.
    void send(const QString& interface, const QString& member, const QVariantList& arguments);

    void giveUpName();
    /// Leaves the bus.
    void leave();

    /// What it answers when it is asked for its state.
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
