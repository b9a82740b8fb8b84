#pragma once

#include "ui/common/StateColors.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QDBusVariant>
#include <QObject>
#include <optional>

class QJSEngine;
class QQmlEngine;

namespace sonvale::ui {

/// How the desktop wants windows to look: dark or light, and with or without motion. It follows the desktop
/// while the program runs, by the desktop's portal (the "org.freedesktop.appearance" settings) or, without
/// one, by the palette that the desktop gives to Qt. Main thread.
class Appearance final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool isDark READ isDark NOTIFY changed)
    Q_PROPERTY(bool isMotionReduced READ isMotionReduced NOTIFY changed)
    Q_PROPERTY(QColor restingColor READ resting CONSTANT)
    Q_PROPERTY(QColor listeningColor READ listening CONSTANT)
    Q_PROPERTY(QColor workingColor READ working CONSTANT)

public:
    explicit Appearance(QObject* parent);

    /// Makes `appearance` the one that the views of `engine` see. It must outlive the engine.
    static void install(QQmlEngine& engine, Appearance& appearance);
    /// Returns the one that was installed; the engine calls it for the first view.
    static Appearance* create(QQmlEngine* engine, QJSEngine* scripts);

    bool isDark() const;
    bool isMotionReduced() const { return motionOverride_.value_or(isMotionReduced_); }

    // For the light theme, which shares them with the tray icon.
    static QColor resting() { return ui::restingColor; }
    static QColor listening() { return ui::listeningColor; }
    static QColor working() { return ui::workingColor; }

    /// Instead of what the desktop says; for pictures and tests.
    void overrideDark(std::optional<bool> isDark);
    void overrideMotionReduced(std::optional<bool> isMotionReduced);

    Q_SIGNAL void changed();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void askPortal();
    void take(const QString& group, const QString& key, const QVariant& value);
    Q_SLOT void settingChanged(const QString& group, const QString& key, const QDBusVariant& value);

    std::optional<bool> override_; ///< of what is dark
    std::optional<bool> motionOverride_;
    std::optional<bool> portalIsDark_; ///< absent when the portal has no preference
    bool isMotionReduced_ = false;
};

} // namespace sonvale::ui
