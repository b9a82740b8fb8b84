#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QVariantList>
#include <string>
#include <vector>

namespace sonvale::tests {

/// A screen saver on the session bus, or logind on the system bus, controlled by a test.
class ScriptedLocker final : public QDBusVirtualObject {
public:
    struct Kind {
        std::string label;
        QString name; ///< the name on the bus, and the interface of a screen saver
        QString path; ///< the path of its reports
        bool isOfSystem = false;
    };
    static const std::vector<Kind>& kinds();

    ScriptedLocker(const std::string& busAddress, Kind kind);
    ~ScriptedLocker() override;

    /// Sets the state and reports it.
    void setLocked(bool isLocked);
    /// Sends a signal of a screen saver's interface.
    void send(const QString& member, const QVariantList& arguments);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    const Kind kind_;
    const QString connectionName_;
    QDBusConnection bus_;
    bool isLocked_ = false;
};

} // namespace sonvale::tests
