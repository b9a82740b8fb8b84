#include "ui/scratchpad/ScratchpadModel.h"

#include "persistence/SettingsKeys.h"
#include "ui/common/Texts.h"
#include "ui/scratchpad/ScratchpadText.h"

namespace sonvale::ui {

namespace keys = persistence::keys;

ScratchpadModel::ScratchpadModel(const core::Environment& environment,
                                 std::shared_ptr<core::AppState> appState)
    : settings_(environment.settings)
    , appState_(std::move(appState))
    , text_(textOf(settings_.bound(keys::scratchpadText)))
    , saving_(environment.main, environment.clock,
              [this] { settings_.set(keys::scratchpadText, text_.toStdString()); }) {}

void ScratchpadModel::setText(const QString& text) {
    if (text == text_)
        return;
    text_ = text;
    saving_.request();
    Q_EMIT textChanged();
}

int ScratchpadModel::words() const {
    return static_cast<int>(scratchpadWords(text_.toStdString()));
}

void ScratchpadModel::copy() {
    appState_->copyText(text_.toStdString());
}

} // namespace sonvale::ui
