#pragma once

#include <QRectF>
#include <QSize>

/// Where a screen of `pixels` stands in an area: as large as fits with its aspect ratio kept, centred, on
/// whole device pixels, so that one which has the area's size in these is shown exactly. Empty without
/// pixels.
[[nodiscard]] QRectF screenTarget(const QSizeF &area, const QSize &pixels, qreal devicePixelRatio);
