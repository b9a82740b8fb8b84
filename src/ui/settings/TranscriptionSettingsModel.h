#pragma once

#include "core/AppState.h"
#include "persistence/Settings.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <QStringList>
#include <memory>

namespace sonvale::ui {

/// The engine and the language of dictations. Each change is stored at once and takes effect at once. Main
/// actor.
class TranscriptionSettingsModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The settings make it.")
    Q_PROPERTY(Engine engine READ engine NOTIFY changed)
    Q_PROPERTY(QStringList languages READ languages CONSTANT)
    Q_PROPERTY(int languageIndex READ languageIndex NOTIFY changed)

public:
    /// The offered engines. `Other` means that the stored engine is not offered.
    enum class Engine { Other, Streaming, Hybrid, Local };
    Q_ENUM(Engine)

    /// `settings` must outlive the model.
    TranscriptionSettingsModel(persistence::Settings& settings, std::shared_ptr<core::AppState> appState);

    Engine engine() const;
    /// Ignores `Other`.
    Q_INVOKABLE void selectEngine(sonvale::ui::TranscriptionSettingsModel::Engine engine);

    /// Returns the labels of the languages, in their order.
    static QStringList languages();
    /// Returns the index of the stored language; -1 if it is not offered.
    int languageIndex() const;
    /// Ignores an index without a language.
    Q_INVOKABLE void selectLanguage(int index);

    /// Notifies the view that the stored values may have changed.
    void refresh() { Q_EMIT changed(); }

    Q_SIGNAL void changed();

private:
    persistence::Settings& settings_;
    const std::shared_ptr<core::AppState> appState_;
};

} // namespace sonvale::ui
