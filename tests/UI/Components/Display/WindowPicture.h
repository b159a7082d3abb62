#pragma once

#include <QImage>
#include <QPainter>
#include <QQuickItem>
#include <QQuickWindow>

/// The first difference of a magenta window from `image` in the `target` of its only item, which is black
/// elsewhere; empty when there is none. The unused bytes of the image do not count.
[[nodiscard]] inline QString windowDifference(QQuickWindow &window, const QQuickItem &item,
                                              const QImage &image, const QRect &target)
{
    const QImage shown = window.grabWindow().convertToFormat(QImage::Format_ARGB32);
    QImage expected(shown.size(), QImage::Format_ARGB32);
    expected.fill(Qt::magenta);
    QPainter painter(&expected);
    painter.translate(item.position());
    painter.fillRect(item.boundingRect(), Qt::black);
    painter.drawImage(target, image.convertToFormat(QImage::Format_RGB888));
    painter.end();
    for (int y = 0; y < shown.height(); ++y) {
        for (int x = 0; x < shown.width(); ++x) {
            if (shown.pixel(x, y) != expected.pixel(x, y))
                return QStringLiteral("%1 instead of %2 at %3, %4")
                    .arg(shown.pixel(x, y), 8, 16)
                    .arg(expected.pixel(x, y), 8, 16)
                    .arg(x)
                    .arg(y);
        }
    }
    return {};
}
