#pragma once

#include "platform/Appearance.h"
#include "ui/common/Palette.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <optional>

class QJSEngine;
class QQmlEngine;

namespace sonvale::ui {

/// How views look: dark or light, and with or without motion. Follows the desktop while the program runs. If
/// the desktop states no preference for dark or light, the palette that it gives to Qt decides. Main thread.
class Appearance final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(bool isDark READ isDark NOTIFY changed)
    Q_PROPERTY(bool isMotionReduced READ isMotionReduced NOTIFY changed)
    Q_PROPERTY(sonvale::ui::Palette palette READ palette NOTIFY changed)

public:
    /// `desktop` must outlive the object, which becomes its observer.
    explicit Appearance(platform::Appearance& desktop);
    ~Appearance() override;

    /// Makes `appearance` the one that the views of `engine` see. It must outlive the engine.
    static void install(QQmlEngine& engine, Appearance& appearance);
    /// Returns the installed object; the engine calls this for the first view.
    static Appearance* create(QQmlEngine* engine, QJSEngine* scripts);

    bool isDark() const;
    bool isMotionReduced() const;
    /// Returns the colors of the current theme.
    const Palette& palette() const { return isDark() ? palette::dark : palette::light; }

    /// Overrides the desktop's preference; for pictures and tests.
    void overrideDark(std::optional<bool> isDark);
    void overrideMotionReduced(std::optional<bool> isMotionReduced);

    Q_SIGNAL void changed();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    platform::Appearance& desktop_;
    std::optional<bool> override_; ///< of `isDark`
    std::optional<bool> motionOverride_;
};

} // namespace sonvale::ui
