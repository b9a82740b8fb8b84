#pragma once

#include "platform/RecordingState.h"
#include "ui/indicator/RingPainter.h"

#include <QBasicTimer>
#include <QElapsedTimer>
#include <QQuickPaintedItem>
#include <optional>

namespace sonvale::ui {

/// The ring inside a window, moving as for a speaking user. It redraws itself only while it and its window
/// are visible, and does not move if `isStill`.
class RingItem : public QQuickPaintedItem {
    Q_OBJECT
    QML_NAMED_ELEMENT(Ring)
    Q_PROPERTY(bool isWorking MEMBER isWorking_ NOTIFY changed)
    Q_PROPERTY(bool isStill MEMBER isStill_ NOTIFY changed)

public:
    explicit RingItem(QQuickItem* parent = nullptr);

    void paint(QPainter* painter) override;

    Q_SIGNAL void changed();

protected:
    void itemChange(ItemChange change, const ItemChangeData& value) override;
    void timerEvent(QTimerEvent* event) override;

private:
    void moveOrRest();

    bool isWorking_ = false;
    bool isStill_ = false;
    QMetaObject::Connection windowChanges_;
    QBasicTimer frames_;
    QElapsedTimer time_;
    std::optional<RingPainter> painter_; ///< for the last drawn size in pixels
};

} // namespace sonvale::ui
