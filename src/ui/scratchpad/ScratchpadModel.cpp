#include "ui/scratchpad/ScratchpadModel.h"

#include "persistence/SettingsKeys.h"
#include "ui/common/Texts.h"
#include "ui/scratchpad/ScratchpadText.h"

#include <utility>

namespace sonvale::ui {

namespace keys = persistence::keys;

ScratchpadModel::ScratchpadModel(runtime::Actor main, runtime::Clock& clock, persistence::Settings& settings,
                                 CopyText copyText)
    : settings_(settings)
    , copyText_(std::move(copyText))
    , text_(toQString(settings_.bound(keys::scratchpadText)))
    , saving_(std::move(main), clock, [this] { settings_.set(keys::scratchpadText, text_.toStdString()); }) {}

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
    copyText_(text_.toStdString());
}

} // namespace sonvale::ui
