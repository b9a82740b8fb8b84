#pragma once

#include "hotkeys/HotkeyBinding.h"
#include "hotkeys/KeyCapture.h"
#include "persistence/Settings.h"
#include "platform/NativeKeys.h"

#include <QtQmlIntegration/qqmlintegration.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>
#include <functional>
#include <optional>
#include <string>

namespace sonvale::ui {

/// An action with its texts for the user.
struct ActionLine {
    Q_GADGET
    QML_VALUE_TYPE(actionLine)
    Q_PROPERTY(QString action MEMBER action)
    Q_PROPERTY(QString label MEMBER label)
    Q_PROPERTY(QString subtitle MEMBER subtitle)

public:
    QString action; ///< the stored name
    QString label;
    QString subtitle;
};

/// A shortcut as the sheet draws it.
struct ShortcutLine {
    Q_GADGET
    QML_VALUE_TYPE(shortcutLine)
    Q_PROPERTY(QStringList pills MEMBER pills)
    Q_PROPERTY(QString name MEMBER name)

public:
    QStringList pills; ///< the key caps
    QString name;
};

/// The sheet in which the user changes the shortcuts. It works on a copy of the bindings, which are stored
/// and used only by `save()`. Main actor.
class HotkeySheetModel final : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The window makes it.")
    Q_PROPERTY(QVariantList actions READ actions CONSTANT)
    Q_PROPERTY(QVariantList shortcuts READ shortcuts NOTIFY storeChanged)
    Q_PROPERTY(QString recordingAction READ recordingActionName NOTIFY recordingChanged)
    Q_PROPERTY(QString conflictWarning READ conflictWarningText NOTIFY recordingChanged)

public:
    /// Called by `save()` once the bindings are stored.
    using OnSave = std::function<void(const hotkeys::HotkeyBindings& bindings)>;

    /// The referenced objects must outlive the model.
    HotkeySheetModel(persistence::Settings& settings, const platform::NativeKeys& nativeKeys, OnSave onSave);

    /// Returns the five actions in their order, each an `ActionLine`.
    static QVariantList actions();
    /// Returns, for each of `actions()`, the list of its shortcuts, each a `ShortcutLine`.
    QVariantList shortcuts() const;
    QString recordingActionName() const; ///< the stored name; empty while nothing is recorded
    QString conflictWarningText() const; ///< empty for none
    /// The keyboard for the recorder.
    const platform::NativeKeys& nativeKeys() const { return nativeKeys_; }

    const hotkeys::HotkeyBindings& store() const { return store_; }
    std::optional<hotkeys::HotkeyAction> recordingAction() const { return recordingAction_; }
    int recordingIndex() const { return recordingIndex_; } ///< of the shortcut to be replaced; -1 adds one
    const std::optional<std::string>& conflictWarning() const { return conflictWarning_; }

    /// Loads the stored bindings and ends a recording. Called when the sheet opens.
    Q_INVOKABLE void open();

    // These ignore an unknown name of an action.

    /// Starts a recording for the action and ends another one. The recorded shortcut replaces the shortcut at
    /// the index; if there is none at the index, it is added.
    Q_INVOKABLE void startRecording(const QString& action, int index);
    /// Stores the recorded shortcut and ends the recording. If another action has the shortcut, sets a
    /// warning and goes on recording. Does nothing if nothing is recorded.
    Q_INVOKABLE void capture(qlonglong keyCode, qulonglong modifiers, const QString& displayName);
    /// Returns what a key event means for a recording.
    static hotkeys::KeyCapture meaningOf(const platform::KeyEvent& event);
    Q_INVOKABLE void cancelRecording();
    /// Removes a shortcut. Does nothing for the last shortcut of an action, and for an index without a
    /// shortcut.
    Q_INVOKABLE void remove(const QString& action, int index);
    /// Replaces the shortcuts in the sheet with the defaults, which `save()` stores.
    Q_INVOKABLE void resetToDefault();
    Q_INVOKABLE void save();
    Q_INVOKABLE void cancel();

    Q_SIGNAL void storeChanged();
    Q_SIGNAL void recordingChanged();
    /// Emitted when the sheet must close.
    Q_SIGNAL void dismissed();

private:
    void endRecording();

    persistence::Settings& settings_;
    const platform::NativeKeys& nativeKeys_;
    OnSave onSave_;

    hotkeys::HotkeyBindings store_;
    std::optional<hotkeys::HotkeyAction> recordingAction_;
    int recordingIndex_ = -1;
    std::optional<std::string> conflictWarning_;
};

} // namespace sonvale::ui
