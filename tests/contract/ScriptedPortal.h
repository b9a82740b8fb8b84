#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>
#include <QVariant>
#include <map>
#include <string>
#include <utility>

namespace sonvale::tests {

/// The settings of a desktop's portal, on a bus of a test.
class ScriptedPortal final : public QDBusVirtualObject {
public:
    explicit ScriptedPortal(const std::string& busAddress);
    ~ScriptedPortal() override;

    /// Sets the value without a report.
    void set(const QString& group, const QString& key, const QVariant& value);
    /// Sets the value, and reports it.
    void change(const QString& group, const QString& key, const QVariant& value);

    QString introspect(const QString& path) const override;
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

private:
    const QString connectionName_;
    QDBusConnection bus_;
    std::map<std::pair<QString, QString>, QVariant> values_;
};

} // namespace sonvale::tests
