#pragma once

#include "ui/common/Appearance.h"

#include <QQuickView>
#include <QVariantMap>
#include <functional>
#include <memory>

class QQmlEngine;

namespace sonvale::ui {

/// Makes the windows whose content is QML. The engine is loaded with the first one. Main thread.
///
/// A view's file takes a `model`, which holds its logic and has to outlive the window.
class Views {
public:
    Views();
    ~Views();
    Views(const Views&) = delete;
    Views& operator=(const Views&) = delete;

    /// A window, not shown yet, with the file `name`.qml as its content, which fills it.
    std::unique_ptr<QQuickView> make(const QString& name, const QVariantMap& properties);

    /// Lets go of what only windows that are closed by now have used.
    void trim();

    Appearance& appearance() { return *appearance_; }

    /// Called for every warning of a view, from then on; without it they go to Qt's log.
    std::function<void(const QString& warning)> onWarning;

private:
    QQmlEngine& engine();

    std::unique_ptr<Appearance> appearance_;
    std::unique_ptr<QQmlEngine> engine_;
};

} // namespace sonvale::ui
