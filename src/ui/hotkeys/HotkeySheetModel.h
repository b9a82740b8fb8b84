#pragma once

#include "hotkeys/HotkeyBinding.h"
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

/// A shortcut as it is drawn.
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

    /// What is referred to must outlive the model.
    HotkeySheetModel(persistence::Settings& settings, const platform::NativeKeys& nativeKeys, OnSave onSave);

    /// Returns the five actions in their order, each an `ActionLine`.
    static QVariantList actions();
    /// Returns, for each of `actions()`, the list of its shortcuts, each a `ShortcutLine`.
    QVariantList shortcuts() const;
    QString recordingActionName() const; ///< the stored name; empty while nothing is recorded
    QString conflictWarningText() const; ///< empty for none
    /// For the recorder.
    const platform::NativeKeys& nativeKeys() const { return nativeKeys_; }

    const hotkeys::HotkeyBindings& store() const { return store_; }
    std::optional<hotkeys::HotkeyAction> recordingAction() const { return recordingAction_; }
    int recordingIndex() const { return recordingIndex_; } ///< of the shortcut to be replaced; -1 adds one
    const std::optional<std::string>& conflictWarning() const { return conflictWarning_; }

    /// The sheet comes up: with the stored bindings, nothing being recorded.
    Q_INVOKABLE void open();

    // A name that is no action's does nothing.

    /// From now on the next key is for the action, in place of the shortcut with that index; an index without
    /// a shortcut adds one. Another recording ends.
    Q_INVOKABLE void startRecording(const QString& action, int index);
    /// Takes what was pressed, unless another action has it already: then there is a warning, and recording
    /// goes on. Nothing while nothing is recorded.
    Q_INVOKABLE void capture(qlonglong keyCode, qulonglong modifiers, const QString& displayName);
    Q_INVOKABLE void cancelRecording();
    /// Nothing for the last shortcut of an action, and for an index without one.
    Q_INVOKABLE void remove(const QString& action, int index);
    /// The shortcuts of a new user, which count once they are saved.
    Q_INVOKABLE void resetToDefault();
    Q_INVOKABLE void save();
    Q_INVOKABLE void cancel();

    Q_SIGNAL void storeChanged();
    Q_SIGNAL void recordingChanged();
    /// The sheet has to go.
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
