#pragma once

#include "base/Observed.h"
#include "core/AppState.h"
#include "persistence/Settings.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <QVariantList>
#include <functional>
#include <memory>
#include <vector>

namespace sonvale::ui {

/// A language that the user can choose.
struct LanguageChoice {
    Q_GADGET
    QML_VALUE_TYPE(languageChoice)
    Q_PROPERTY(QString code MEMBER code)
    Q_PROPERTY(QString label MEMBER label)

public:
    QString code; ///< the stored value
    QString label;
};

/// The content and the actions of the menu at the tray. Follows the controller. Main actor.
class MenuModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY stateChanged)
    Q_PROPERTY(QString lastTranscription READ lastTranscription NOTIFY transcriptionChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorChanged)
    Q_PROPERTY(QString language READ language NOTIFY languageChanged)
    Q_PROPERTY(QString languageName READ languageName NOTIFY languageChanged)
    Q_PROPERTY(QVariantList languages READ languages CONSTANT)

public:
    /// The recording state.
    enum class State { Idle, Recording, Processing, ProcessingHandsFree };
    Q_ENUM(State)

    struct Actions {
        std::function<void()> openDashboard;
        std::function<void()> quit;
        /// Closes the menu, and then calls the function.
        std::function<void(std::function<void()> then)> closeMenu;
        /// Closes the menu, and calls the function once the front application has the keyboard again.
        std::function<void(std::function<void()> then)> giveKeyboardBack;
    };

    /// `settings` must outlive the model.
    MenuModel(std::shared_ptr<core::AppState> appState, persistence::Settings& settings, Actions actions);

    State state() const;
    QString statusText() const;
    QString lastTranscription() const;
    QString errorMessage() const; ///< empty for none
    QString language() const;
    QString languageName() const;
    static QVariantList languages(); ///< of `LanguageChoice`

    /// Copies the last transcript. Does nothing if there is none, as does `pasteLastTranscript`.
    Q_INVOKABLE void copyLastTranscript();
    Q_INVOKABLE void pasteLastTranscript();
    /// Opens the dashboard after the menu has closed.
    Q_INVOKABLE void openDashboard();
    Q_INVOKABLE void selectLanguage(const QString& code);
    Q_INVOKABLE void quit();
    /// Reads the language again, which other parts of the program may have changed.
    Q_INVOKABLE void refresh() { Q_EMIT languageChanged(); }

    Q_SIGNAL void stateChanged();
    Q_SIGNAL void transcriptionChanged();
    Q_SIGNAL void errorChanged();
    Q_SIGNAL void languageChanged();

private:
    std::shared_ptr<core::AppState> appState_;
    persistence::Settings& settings_;
    Actions actions_;
    std::vector<base::Subscription> subscriptions_;
};

} // namespace sonvale::ui
