#include "ui/common/Appearance.h"

#include <QEvent>
#include <QGuiApplication>
#include <QPalette>
#include <QQmlEngine>

namespace sonvale::ui {

namespace {

constexpr const char* installedProperty = "sonvaleAppearance";
constexpr int maxDarkLightness = 127;

} // namespace

Appearance::Appearance(platform::Appearance& desktop)
    : desktop_(desktop) {
    QCoreApplication::instance()->installEventFilter(this);
    desktop_.setOnChange([this] { Q_EMIT changed(); });
}

Appearance::~Appearance() {
    desktop_.setOnChange(nullptr);
}

void Appearance::install(QQmlEngine& engine, Appearance& appearance) {
    engine.setProperty(installedProperty, QVariant::fromValue(&appearance));
    QJSEngine::setObjectOwnership(&appearance, QJSEngine::CppOwnership);
}

Appearance* Appearance::create(QQmlEngine* engine, QJSEngine* /*scripts*/) {
    return engine->property(installedProperty).value<Appearance*>();
}

bool Appearance::isDark() const {
    if (override_)
        return *override_;
    if (const auto isDark = desktop_.preferences().isDark)
        return *isDark;
    return QGuiApplication::palette().color(QPalette::Window).lightness() <= maxDarkLightness;
}

bool Appearance::isMotionReduced() const {
    return motionOverride_.value_or(desktop_.preferences().isMotionReduced);
}

void Appearance::overrideDark(std::optional<bool> isDark) {
    override_ = isDark;
    Q_EMIT changed();
}

void Appearance::overrideMotionReduced(std::optional<bool> isMotionReduced) {
    motionOverride_ = isMotionReduced;
    Q_EMIT changed();
}

bool Appearance::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && object == QCoreApplication::instance())
        Q_EMIT changed();
    return QObject::eventFilter(object, event);
}

} // namespace sonvale::ui
