#include "ui/common/SymbolProvider.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrl>

namespace sonvale::ui {

namespace {

/// The size of the symbols' own coordinates, in points.
constexpr QSize designSize(20, 20);

} // namespace

QImage symbolImage(const QString& name, const QColor& color, const QSize& size) {
    QFile file(QStringLiteral(":/SonVale/symbols/%1.svg").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const auto drawing = file.readAll().replace("currentColor", color.name().toLatin1());
    QSvgRenderer renderer(drawing);
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setOpacity(color.alphaF());
    renderer.render(&painter, QRectF(QPointF(), size));
    return image;
}

SymbolProvider::SymbolProvider()
    : QQuickImageProvider(Image) {}

QImage SymbolProvider::requestImage(const QString& id, QSize* size, const QSize& requestedSize) {
    const auto decoded = QUrl::fromPercentEncoding(id.toUtf8());
    const auto split = decoded.lastIndexOf(QLatin1Char('/'));
    const auto wanted = requestedSize.isEmpty() ? designSize : requestedSize;
    const auto image = symbolImage(decoded.left(split), QColor(decoded.mid(split + 1)), wanted);
    if (size)
        *size = image.size();
    return image;
}

} // namespace sonvale::ui
