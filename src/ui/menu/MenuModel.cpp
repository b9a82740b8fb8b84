#include "ui/menu/MenuModel.h"

#include "persistence/SettingsKeys.h"
#include "ui/common/Languages.h"
#include "ui/common/Texts.h"
#include "ui/menu/MenuStatus.h"

namespace sonvale::ui {

namespace keys = persistence::keys;

MenuModel::MenuModel(std::shared_ptr<core::AppState> appState, persistence::Settings& settings,
                     Actions actions)
    : appState_(std::move(appState))
    , settings_(settings)
    , actions_(std::move(actions)) {
    subscriptions_.push_back(
        appState_->recordingState.subscribe([this](platform::RecordingState) { Q_EMIT stateChanged(); }));
    subscriptions_.push_back(appState_->lastTranscription.subscribe(
        [this](const std::string&) { Q_EMIT transcriptionChanged(); }));
    subscriptions_.push_back(appState_->errorMessage.subscribe(
        [this](const std::optional<std::string>&) { Q_EMIT errorChanged(); }));
}

MenuModel::State MenuModel::state() const {
    using platform::RecordingState;
    switch (appState_->recordingState.get()) {
    case RecordingState::idle:
        return State::Idle;
    case RecordingState::recording:
        return State::Recording;
    case RecordingState::processing:
        return State::Processing;
    case RecordingState::processingHandsFree:
        return State::ProcessingHandsFree;
    }
    return State::Idle;
}

QString MenuModel::statusText() const {
    return translated(menuStatus(appState_->recordingState.get()));
}

QString MenuModel::lastTranscription() const {
    return toQString(appState_->lastTranscription.get());
}

QString MenuModel::errorMessage() const {
    return translated(appState_->errorMessage->value_or(""));
}

QString MenuModel::language() const {
    return toQString(settings_.bound(keys::language));
}

QString MenuModel::languageName() const {
    return translated(ui::languageName(settings_.bound(keys::language)));
}

QVariantList MenuModel::languages() {
    QVariantList result;
    for (const auto& each : ui::languages())
        result.append(QVariant::fromValue(
            LanguageChoice{.code = toQString(each.code), .label = translated(each.label)}));
    return result;
}

void MenuModel::copyLastTranscript() {
    if (!appState_->lastTranscription->empty())
        appState_->copyText(appState_->lastTranscription.get());
}

void MenuModel::pasteLastTranscript() {
    if (appState_->lastTranscription->empty())
        return;
    actions_.giveKeyboardBack([weak = std::weak_ptr(appState_)] {
        if (const auto appState = weak.lock())
            appState->pasteLastTranscript();
    });
}

void MenuModel::openDashboard() {
    actions_.closeMenu(actions_.openDashboard);
}

void MenuModel::selectLanguage(const QString& code) {
    settings_.set(keys::language, code.toStdString());
    Q_EMIT languageChanged();
}

void MenuModel::quit() {
    actions_.quit();
}

} // namespace sonvale::ui
