#include "UI/Toolkit/Style/SymbolProvider.h"

#include <QColor>
#include <QPainter>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

SymbolProvider::SymbolProvider()
    : QQuickImageProvider(Image)
{}

QImage SymbolProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    QImage image(requestedSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    *size = image.size();
    QSvgRenderer drawing(
        u":/qt-project.org/imports/Kelvo/Toolkit/symbols/%1.svg"_s.arg(id.section(u'/', 0, 0)));
    if (!drawing.isValid())
        return image; // it has said so
    QPainter painter(&image);
    drawing.render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), QColor(u'#' + id.section(u'/', 1, 1)));
    return image;
}
