#pragma once

#include <QString>
#include <QVariantMap>
#include <QWindow>
#include <QtPlugin>
#include <memory>

namespace sonvale::platform {
class Appearance;
}

namespace sonvale::ui {

/// A window whose content is QML.
struct View {
    std::unique_ptr<QWindow> window;
    QObject* content = nullptr; ///< the root item, which the window owns; null if the file is broken
};

/// Makes the windows whose content is QML. Main thread.
///
/// A view takes a `model`, which holds its logic and must outlive the window.
class Views {
public:
    virtual ~Views() = default;

    /// Returns a window with the content of `file`.qml, not shown yet. The file is named from `src/ui`, such
    /// as "menu/MenuBarView". Returns no window if Qt Quick is not available.
    virtual View make(const QString& file, const QVariantMap& properties) = 0;

    /// Frees the memory that only closed windows used.
    virtual void trim() = 0;
};

/// What the module of the views, a library that the program loads at run time, offers.
class ViewsModule {
public:
    virtual ~ViewsModule() = default;

    /// Returns new views. `appearance` must outlive them.
    virtual std::unique_ptr<Views> makeViews(platform::Appearance& appearance) = 0;
};

} // namespace sonvale::ui

Q_DECLARE_INTERFACE(sonvale::ui::ViewsModule, "com.sonvale.ViewsModule")
