#pragma once

#include <QImage>
#include <QRectF>
#include <QRegion>
#include <QSize>

#include <memory>
#include <mutex>

class QQuickWindow;
class QSGNode;

/// Draws a picture without smoothing on a black area, in whichever way the window's renderer wants it, in
/// tiles of which only the changed ones are drawn again. The picture's unused bytes never show through: what
/// is drawn is opaque. Render thread.
class ScreenNode
{
public:
    struct Picture
    {
        /// A null one, Format_RGB32 or Format_RGBX8888.
        QImage image;
        /// Held while pixels are read; null where they never change.
        std::shared_ptr<std::mutex> mutex;
    };

    virtual ~ScreenNode() = default;

    /// For the renderer of `window`; an empty tile size means one tile for all. The scene graph owns what
    /// asNode() gives.
    [[nodiscard]] static std::unique_ptr<ScreenNode> create(QQuickWindow &window, const QSize &tileSize);

    [[nodiscard]] virtual QSGNode *asNode() = 0;
    /// `changed` are the picture's pixels that may differ from those shown before, if that was of the same
    /// size; `target` lies within `area`.
    virtual void show(const Picture &picture, const QRectF &area, const QRectF &target,
                      const QRegion &changed) = 0;
    /// Whether pixels are read again when the window is drawn, not only in show().
    [[nodiscard]] virtual bool readsWhenDrawn() const = 0;
};
