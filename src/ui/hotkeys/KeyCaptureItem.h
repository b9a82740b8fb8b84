#pragma once

#include "platform/EventTap.h"
#include "ui/hotkeys/HotkeySheetModel.h"

#include <QQuickItem>
#include <QString>
#include <cstdint>
#include <optional>

class QKeyEvent;

namespace sonvale::ui {

/// Turns the next keys that reach the window into a shortcut. While it records, every key that it gets stays
/// with it, those by which other items move the focus or close a window too.
///
/// Modifiers count by what they mean, as for the listener: the left and the right one are the same, and
/// AltGr, which types signs, is none. Escape counts by what it means too; other keys count by their place.
class KeyCaptureItem : public QQuickItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(KeyCapture)
    Q_PROPERTY(bool isRecording READ isRecording WRITE setRecording NOTIFY recordingChanged)
    /// Knows which place a key has. Without it, only Escape and modifiers are known.
    Q_PROPERTY(sonvale::ui::HotkeySheetModel* model MEMBER model_ NOTIFY modelChanged)

public:
    explicit KeyCaptureItem(QQuickItem* parent = nullptr);

    bool isRecording() const { return isRecording_; }
    /// Once it records it takes the keyboard, in the next turn of the main loop.
    void setRecording(bool isRecording);

    /// A shortcut was pressed; recording goes on until somebody ends it.
    Q_SIGNAL void capture(qlonglong keyCode, qulonglong modifiers, const QString& displayName);
    /// Escape was pressed.
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
    void tell(QKeyEvent& event);

    bool isRecording_ = false;
    HotkeySheetModel* model_ = nullptr;
};

} // namespace sonvale::ui
