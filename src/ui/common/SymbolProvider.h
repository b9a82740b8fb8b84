#pragma once

#include <QColor>
#include <QImage>
#include <QQuickImageProvider>

namespace sonvale::ui {

/// A symbol of the program's own set (`symbols/`), such as "doc.on.doc", drawn in one colour; null for a name
/// that is not in the set. `size` is in pixels.
QImage symbolImage(const QString& name, const QColor& color, const QSize& size);

/// The symbols for views: "image://symbol/doc.on.doc/%23ff0000" is one in red.
class SymbolProvider final : public QQuickImageProvider {
public:
    SymbolProvider();
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace sonvale::ui
