#include "UI/Components/Display/ScreenTarget.h"

QRectF screenTarget(const QSizeF &area, const QSize &pixels, qreal devicePixelRatio)
{
    const QSize available = (area * devicePixelRatio).toSize();
    if (pixels.isEmpty() || available.isEmpty())
        return {};
    const QSize fitted = pixels.scaled(available, Qt::KeepAspectRatio).expandedTo({1, 1});
    const QSize bars = available - fitted;
    const QPoint corner(bars.width() / 2, bars.height() / 2);
    return {QPointF(corner) / devicePixelRatio, QSizeF(fitted) / devicePixelRatio};
}
