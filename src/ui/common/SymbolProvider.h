#pragma once

#include <QColor>
#include <QImage>
#include <QQuickImageProvider>

namespace sonvale::ui {

/// Returns a symbol of the program's own set (`symbols/`), such as "doc.on.doc", drawn in one color. Returns
/// a null image if the set has no symbol of that name. `size` is in pixels.
QImage symbolImage(const QString& name, const QColor& color, const QSize& size);

/// Serves the symbols to views: "image://symbol/doc.on.doc/%23ff0000" is a red one.
class SymbolProvider final : public QQuickImageProvider {
public:
    SymbolProvider();
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace sonvale::ui
