#include "ui/hotkeys/KeyCaptureItem.h"

#include "hotkeys/KeyCapture.h"
#include "ui/common/Texts.h"

#include <QKeyEvent>
#include <QMetaObject>
#include <algorithm>
#include <array>

namespace sonvale::ui {

namespace modifier = platform::modifier;

namespace {

constexpr int escapeKeyCode = 53; // of macOS

/// A modifier's bit, and the keys of macOS that hold it: the left one first.
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

/// The modifier that the key holds by what it means now; 0 for all others.
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

/// A key that another one was put in the place of, Caps Lock as Control for example, goes by the key that it
/// stands for.
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
    // Otherwise a popup's own Escape, or any other shortcut of the window, would come first.
    if (event->type() == QEvent::ShortcutOverride && isRecording_) {
        event->accept();
        return true;
    }
    return QQuickItem::event(event);
}

void KeyCaptureItem::keyPressEvent(QKeyEvent* event) {
    if (isRecording_)
        tell(*event);
    else
        event->ignore();
}

void KeyCaptureItem::keyReleaseEvent(QKeyEvent* event) {
    event->setAccepted(isRecording_);
}

/// Escape goes by what the key means, as for the listener; every other key goes by its place.
int KeyCaptureItem::keyCodeOf(const QKeyEvent& event) const {
    if (event.key() == Qt::Key_Escape)
        return escapeKeyCode;
    const int placeCode = model_ ? model_->nativeKeys().virtualKeyCode(event.nativeScanCode()) : -1;
    return placeCode == escapeKeyCode ? -1 : placeCode;
}

std::optional<platform::KeyEvent> KeyCaptureItem::translated(const QKeyEvent& event) const {
    using Type = platform::KeyEvent::Type;
    const int placeCode = keyCodeOf(event);
    // What was held before; QKeyEvent's own operation takes off what the key itself adds when the other one
    // of a pair is held already.
    const auto before = flagsOf(static_cast<const QInputEvent&>(event).modifiers());
    if (const auto own = flagOf(event.key()); own != 0)
        return platform::KeyEvent{Type::flagsChanged, modifierKeyCode(own, placeCode), before | own};
    if (isStateKey(event.key()))
        return std::nullopt;
    return platform::KeyEvent{Type::keyDown, placeCode, before};
}

void KeyCaptureItem::tell(QKeyEvent& event) {
    event.accept();
    if (event.isAutoRepeat())
        return;
    const auto key = translated(event);
    if (!key)
        return;
    const auto captured = hotkeys::captureKey(*key);
    if (std::holds_alternative<hotkeys::CaptureCancelled>(captured))
        Q_EMIT cancel();
    else if (const auto* config = std::get_if<hotkeys::HotkeyConfiguration>(&captured))
        Q_EMIT capture(config->keyCode, config->modifiers, textOf(config->displayName));
}

} // namespace sonvale::ui
