#include "ui/settings/TranscriptionSettingsModel.h"

#include "persistence/SettingsKeys.h"
#include "transcription/TranscriptionEnginePreference.h"
#include "ui/common/Languages.h"
#include "ui/common/Texts.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace sonvale::ui {

namespace keys = persistence::keys;

namespace {

using transcription::TranscriptionEnginePreference;
using Engine = TranscriptionSettingsModel::Engine;

struct OfferedEngine {
    Engine engine;
    std::string_view storedName;
};

const std::array offeredEngines{
    OfferedEngine{Engine::Streaming, rawValue(TranscriptionEnginePreference::streaming)},
    OfferedEngine{Engine::Hybrid, rawValue(TranscriptionEnginePreference::hybrid)},
    OfferedEngine{Engine::Local, rawValue(TranscriptionEnginePreference::local)},
};

} // namespace

TranscriptionSettingsModel::TranscriptionSettingsModel(persistence::Settings& settings,
                                                       std::shared_ptr<core::AppState> appState)
    : settings_(settings)
    , appState_(std::move(appState)) {}

Engine TranscriptionSettingsModel::engine() const {
    const auto stored = settings_.bound(keys::transcriptionEngine);
    const auto* const found = std::ranges::find(offeredEngines, stored, &OfferedEngine::storedName);
    return found == offeredEngines.end() ? Engine::Other : found->engine;
}

void TranscriptionSettingsModel::selectEngine(Engine engine) {
    const auto* const found = std::ranges::find(offeredEngines, engine, &OfferedEngine::engine);
    if (found == offeredEngines.end())
        return;
    const std::string value(found->storedName);
    settings_.set(keys::transcriptionEngine, value);
    appState_->transcriptionManager->preferredEngine = transcription::preferenceAtStart(value);
    Q_EMIT changed();
}

QStringList TranscriptionSettingsModel::languages() {
    QStringList labels;
    for (const auto& each : ui::languages())
        labels.append(translated(each.label));
    return labels;
}

int TranscriptionSettingsModel::languageIndex() const {
    const auto all = ui::languages();
    const auto found = std::ranges::find(all, settings_.bound(keys::language), &Language::code);
    return found == all.end() ? -1 : static_cast<int>(found - all.begin());
}

void TranscriptionSettingsModel::selectLanguage(int index) {
    const auto all = ui::languages();
    if (index < 0 || index >= std::ssize(all))
        return;
    settings_.set(keys::language, all[static_cast<std::size_t>(index)].code);
    Q_EMIT changed();
}

} // namespace sonvale::ui
