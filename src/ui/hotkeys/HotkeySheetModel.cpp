#include "ui/hotkeys/HotkeySheetModel.h"

#include "hotkeys/HotkeyBindingStore.h"
#include "hotkeys/KeyPills.h"
#include "ui/common/Texts.h"

#include <QStringList>
#include <QVariantMap>
#include <QtGlobal>
#include <cstddef>
#include <utility>

namespace sonvale::ui {

using hotkeys::HotkeyAction;
using hotkeys::HotkeyBindingStore;
using hotkeys::HotkeyConfiguration;

namespace {

std::optional<HotkeyAction> actionNamed(const QString& name) {
    return hotkeys::hotkeyActionFromRawValue(name.toStdString());
}

ShortcutLine shortcutOf(const HotkeyConfiguration& config) {
    QStringList pills;
    for (const auto& pill : hotkeys::keyPills(config.keyCode, config.modifiers))
        pills.append(toQString(pill));
    const auto name = HotkeyConfiguration::formatDisplayName(config.keyCode, config.modifiers);
    return {.pills = pills, .name = toQString(name)};
}

} // namespace

HotkeySheetModel::HotkeySheetModel(persistence::Settings& settings, const platform::NativeKeys& nativeKeys,
                                   OnSave onSave)
    : settings_(settings)
    , nativeKeys_(nativeKeys)
    , onSave_(std::move(onSave))
    , store_(HotkeyBindingStore::load(settings)) {}

QVariantList HotkeySheetModel::actions() {
    QVariantList result;
    for (const auto action : hotkeys::allHotkeyActions)
        result.append(QVariant::fromValue(ActionLine{.action = toQString(hotkeys::rawValue(action)),
                                                     .label = translated(hotkeys::label(action)),
                                                     .subtitle = translated(hotkeys::subtitle(action))}));
    return result;
}

QVariantList HotkeySheetModel::shortcuts() const {
    QVariantList result;
    for (const auto action : hotkeys::allHotkeyActions) {
        QVariantList ofAction;
        if (const auto binding = store_.find(action); binding != store_.end()) {
            for (const auto& config : binding->second.configs)
                ofAction.append(QVariant::fromValue(shortcutOf(config)));
        }
        result.append(QVariant(ofAction));
    }
    return result;
}

QString HotkeySheetModel::recordingActionName() const {
    return recordingAction_ ? toQString(hotkeys::rawValue(*recordingAction_)) : QString();
}

QString HotkeySheetModel::conflictWarningText() const {
    return toQString(conflictWarning_.value_or(""));
}

void HotkeySheetModel::open() {
    store_ = HotkeyBindingStore::load(settings_);
    recordingIndex_ = -1;
    endRecording();
    Q_EMIT storeChanged();
}

void HotkeySheetModel::startRecording(const QString& action, int index) {
    const auto recorded = actionNamed(action);
    if (!recorded)
        return;
    recordingAction_ = recorded;
    recordingIndex_ = index;
    conflictWarning_.reset();
    Q_EMIT recordingChanged();
}

void HotkeySheetModel::capture(qlonglong keyCode, qulonglong modifiers, const QString& displayName) {
    if (!recordingAction_)
        return;
    const auto action = *recordingAction_;
    if (const auto other = HotkeyBindingStore::conflictingAction(keyCode, modifiers, action, store_)) {
        conflictWarning_ =
            (translated(QT_TRANSLATE_NOOP("Texts", "Already used by ")) + translated(hotkeys::label(*other)))
                .toStdString();
        Q_EMIT recordingChanged();
        return;
    }

    auto& binding = store_.try_emplace(action, hotkeys::HotkeyBinding{action, {}, true}).first->second;
    HotkeyConfiguration config{keyCode, modifiers, displayName.toStdString()};
    if (recordingIndex_ >= 0 && std::cmp_less(recordingIndex_, binding.configs.size()))
        binding.configs[static_cast<std::size_t>(recordingIndex_)] = std::move(config);
    else
        binding.configs.push_back(std::move(config));
    Q_EMIT storeChanged();
    endRecording();
}

void HotkeySheetModel::cancelRecording() {
    endRecording();
}

void HotkeySheetModel::endRecording() {
    recordingAction_.reset();
    conflictWarning_.reset();
    Q_EMIT recordingChanged();
}

void HotkeySheetModel::remove(const QString& action, int index) {
    const auto from = actionNamed(action);
    const auto binding = from ? store_.find(*from) : store_.end();
    if (binding == store_.end())
        return;
    auto& configs = binding->second.configs;
    if (configs.size() < 2 || index < 0 || std::cmp_greater_equal(index, configs.size()))
        return;
    configs.erase(configs.begin() + index);
    Q_EMIT storeChanged();
}

void HotkeySheetModel::resetToDefault() {
    store_ = HotkeyBindingStore::defaults();
    Q_EMIT storeChanged();
    endRecording();
}

hotkeys::KeyCapture HotkeySheetModel::meaningOf(const platform::KeyEvent& event) {
    return hotkeys::captureKey(event);
}

void HotkeySheetModel::save() {
    HotkeyBindingStore::save(settings_, store_);
    onSave_(store_);
    Q_EMIT dismissed();
}

void HotkeySheetModel::cancel() {
    Q_EMIT dismissed();
}

} // namespace sonvale::ui
