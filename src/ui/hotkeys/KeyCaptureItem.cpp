#include "ui/hotkeys/KeyCaptureItem.h"

#include "platform/KeyCodes.h"
#include "ui/common/Texts.h"

#include <QKeyEvent>
#include <QMetaObject>
#include <algorithm>
#include <array>

namespace sonvale::ui {

namespace modifier = platform::modifier;

namespace {

/// A modifier's bit, and the macOS key codes of its keys, the left one first.
struct ModifierKeys {
    std::uint64_t flag;
    std::array<int, 2> keyCodes;
};

constexpr ModifierKeys modifierKeys[] = {
    {modifier::command, {55, 54}},
    {modifier::shift, {56, 60}},
    {modifier::option, {58, 61}},
    {modifier::control, {59, 62}},
};

/// Returns the modifier of the key's current meaning; 0 for all other keys.
std::uint64_t flagOf(int key) {
    switch (key) {
    case Qt::Key_Shift:
        return modifier::shift;
    case Qt::Key_Control:
        return modifier::control;
    case Qt::Key_Alt:
        return modifier::option;
    case Qt::Key_Meta:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
        return modifier::command;
    default:
        return 0;
    }
}

bool isStateKey(int key) {
    switch (key) {
    case Qt::Key_AltGr:
    case Qt::Key_CapsLock:
    case Qt::Key_Mode_switch:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
        return true;
    default:
        return flagOf(key) != 0;
    }
}

std::uint64_t flagsOf(Qt::KeyboardModifiers modifiers) {
    std::uint64_t flags = 0;
    if (modifiers.testFlag(Qt::ShiftModifier))
        flags |= modifier::shift;
    if (modifiers.testFlag(Qt::ControlModifier))
        flags |= modifier::control;
    if (modifiers.testFlag(Qt::AltModifier))
        flags |= modifier::option;
    if (modifiers.testFlag(Qt::MetaModifier))
        flags |= modifier::command;
    return flags;
}

/// Returns the place of a key. A key that is remapped to another key, such as Caps Lock to Control, has the
/// place of that key.
int modifierKeyCode(std::uint64_t flag, int placeCode) {
    const auto* const keys = std::ranges::find(modifierKeys, flag, &ModifierKeys::flag);
    const bool isAtItsPlace = std::ranges::find(keys->keyCodes, placeCode) != keys->keyCodes.end();
    return isAtItsPlace ? placeCode : keys->keyCodes.front();
}

} // namespace

KeyCaptureItem::KeyCaptureItem(QQuickItem* parent)
    : QQuickItem(parent) {
    setActiveFocusOnTab(true);
}

void KeyCaptureItem::setRecording(bool isRecording) {
    if (isRecording == isRecording_)
        return;
    isRecording_ = isRecording;
    Q_EMIT recordingChanged();
    if (!isRecording)
        return;
    const auto takeKeyboard = [this] {
        if (isRecording_)
            forceActiveFocus(Qt::OtherFocusReason);
    };
    QMetaObject::invokeMethod(this, takeKeyboard, Qt::QueuedConnection);
}

bool KeyCaptureItem::event(QEvent* event) {
    // Otherwise a popup would handle Escape first, or the window another shortcut.
    if (event->type() == QEvent::ShortcutOverride && isRecording_) {
        event->accept();
        return true;
    }
    return QQuickItem::event(event);
}

void KeyCaptureItem::keyPressEvent(QKeyEvent* event) {
    if (isRecording_)
        report(*event);
    else
        event->ignore();
}

void KeyCaptureItem::keyReleaseEvent(QKeyEvent* event) {
    event->setAccepted(isRecording_);
}

/// Escape is recognized by the key's meaning, as in the listener; every other key by its place.
int KeyCaptureItem::keyCodeOf(const QKeyEvent& event) const {
    if (event.key() == Qt::Key_Escape)
        return platform::key_code::escape;
    const int placeCode = model_ ? model_->nativeKeys().virtualKeyCode(event.nativeScanCode()) : -1;
    return placeCode == platform::key_code::escape ? -1 : placeCode;
}

std::optional<platform::KeyEvent> KeyCaptureItem::translated(const QKeyEvent& event) const {
    using Type = platform::KeyEvent::Type;
    const int placeCode = keyCodeOf(event);
    // The modifiers before this event. QKeyEvent::modifiers() removes the key's own modifier although the
    // other key of the pair still holds it.
    const auto before = flagsOf(static_cast<const QInputEvent&>(event).modifiers());
    if (const auto own = flagOf(event.key()); own != 0)
        return platform::KeyEvent{Type::flagsChanged, modifierKeyCode(own, placeCode), before | own};
    if (isStateKey(event.key()))
        return std::nullopt;
    return platform::KeyEvent{Type::keyDown, placeCode, before};
}

void KeyCaptureItem::report(QKeyEvent& event) {
    event.accept();
    if (event.isAutoRepeat())
        return;
    const auto key = translated(event);
    if (!key)
        return;
    const auto captured = HotkeySheetModel::meaningOf(*key);
    if (std::holds_alternative<hotkeys::CaptureCancelled>(captured))
        Q_EMIT cancel();
    else if (const auto* config = std::get_if<hotkeys::HotkeyConfiguration>(&captured))
        Q_EMIT capture(config->keyCode, config->modifiers, toQString(config->displayName));
}

} // namespace sonvale::ui
