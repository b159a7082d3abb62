#include "UI/Components/SymbolImageProvider.h"

#include "UI/Components/SymbolCatalogue.h"

#include <QPainter>

SymbolImageProvider::SymbolImageProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{}

QImage SymbolImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const QStringList parts = id.split(u'/');
    const QString symbol = parts.value(0);
    const int drawn = parts.value(1).toInt() >= 20 ? 22 : 16;
    const QColor color(parts.value(2));
    const int extent = qBound(1, requestedSize.isValid() ? requestedSize.width() : drawn, 512);

    QImage image(extent, extent, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const QIcon icon = SymbolCatalogue::icon(symbol);
    if (!icon.isNull()) {
        const qreal scale = qreal(extent) / drawn;
        QPixmap pixmap = icon.pixmap(QSize(drawn, drawn), scale);
        pixmap.setDevicePixelRatio(1);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(QRect(0, 0, extent, extent), pixmap);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
    }
    if (size)
        *size = image.size();
    return image;
}
