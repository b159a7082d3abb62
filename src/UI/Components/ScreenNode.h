#pragma once

#include <QImage>
#include <QRectF>

#include <memory>

class QQuickWindow;
class QSGNode;

/// Draws a picture without smoothing on a black area, in whichever way the window's renderer wants it. The
/// picture's unused bytes never show through: what is drawn is opaque. Render thread.
class ScreenNode
{
public:
    virtual ~ScreenNode() = default;

    /// For the renderer of `window`. The scene graph owns what asNode() gives.
    [[nodiscard]] static std::unique_ptr<ScreenNode> create(QQuickWindow &window);

    [[nodiscard]] virtual QSGNode *asNode() = 0;
    /// `image` is a null one, Format_RGB32 or Format_RGBX8888 and is not copied; `target` lies within `area`.
    virtual void show(const QImage &image, const QRectF &area, const QRectF &target) = 0;
};
