#pragma once

#include "platform/EventTap.h"
#include "ui/hotkeys/HotkeySheetModel.h"

#include <QQuickItem>
#include <QString>
#include <cstdint>
#include <optional>

class QKeyEvent;

namespace sonvale::ui {

/// Turns the next keys of the window into a shortcut. While it records, it consumes every key, also those
/// that move the focus or close a window.
///
/// Modifiers count by their meaning, as in the listener: left and right are the same, and AltGr, which types
/// characters, is not a modifier. Escape counts by its meaning too. Other keys count by their place.
class KeyCaptureItem : public QQuickItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(KeyCapture)
    Q_PROPERTY(bool isRecording READ isRecording WRITE setRecording NOTIFY recordingChanged)
    /// Knows the place of each key. Without it, only Escape and modifiers are recognized.
    Q_PROPERTY(sonvale::ui::HotkeySheetModel* model MEMBER model_ NOTIFY modelChanged)

public:
    explicit KeyCaptureItem(QQuickItem* parent = nullptr);

    bool isRecording() const { return isRecording_; }
    /// A new recording takes the keyboard in the next turn of the main loop.
    void setRecording(bool isRecording);

    /// Emitted when a shortcut is pressed. The recording goes on until `isRecording` becomes false.
    Q_SIGNAL void capture(qlonglong keyCode, qulonglong modifiers, const QString& displayName);
    /// Emitted when Escape is pressed.
    Q_SIGNAL void cancel();

    Q_SIGNAL void recordingChanged();
    Q_SIGNAL void modelChanged();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    int keyCodeOf(const QKeyEvent& event) const;
    std::optional<platform::KeyEvent> translated(const QKeyEvent& event) const;
    void report(QKeyEvent& event);

    bool isRecording_ = false;
    HotkeySheetModel* model_ = nullptr;
};

} // namespace sonvale::ui
