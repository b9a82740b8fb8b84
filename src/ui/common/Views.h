#pragma once

#include "ui/common/Appearance.h"

#include <QQuickView>
#include <QVariantMap>
#include <functional>
#include <memory>

class QQmlEngine;

namespace sonvale::ui {

/// Makes the windows whose content is QML. The engine is loaded with the first window. Main thread.
///
/// A view takes a `model`, which holds its logic and must outlive the window.
class Views {
public:
    /// `appearance` must outlive the object.
    explicit Views(platform::Appearance& appearance);
    ~Views();
    Views(const Views&) = delete;
    Views& operator=(const Views&) = delete;

    /// Returns a window with the content of `file`.qml, not shown yet. The file is named from `src/ui`, such
    /// as "menu/MenuBarView".
    std::unique_ptr<QQuickView> make(const QString& file, const QVariantMap& properties);

    /// Frees the memory that only closed windows used.
    void trim();

    Appearance& appearance() { return *appearance_; }

    /// Called for every warning of a view. If it is empty, warnings go to Qt's log.
    std::function<void(const QString& warning)> onWarning;

private:
    QQmlEngine& engine();

    std::unique_ptr<Appearance> appearance_;
    std::unique_ptr<QQmlEngine> engine_;
};

} // namespace sonvale::ui
