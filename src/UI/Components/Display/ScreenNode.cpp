#include "UI/Components/Display/ScreenNode.h"

#include <QColor>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <QSGRenderNode>
#include <QSGRendererInterface>

#include <algorithm>
#include <utility>
#include <vector>

namespace {

/// What all tiles of a painted picture share.
struct Painting
{
    QQuickWindow &window;
    ScreenNode::Picture picture;
    QRectF target;
};

/// With the software renderer a tile is painted straight from the picture's memory.
class PaintedTile final : public QSGRenderNode
{
public:
    explicit PaintedTile(const Painting &painting)
        : m_painting(painting)
    {}

    void setRect(const QRectF &rect) { m_rect = rect; }

    [[nodiscard]] RenderingFlags flags() const override { return BoundedRectRendering | OpaqueRendering; }
    [[nodiscard]] QRectF rect() const override { return m_rect; }
    void render(const RenderState *state) override;

private:
    const Painting &m_painting;
    QRectF m_rect;
};

constexpr QRgb opaqueBits = 0xff000000;

/// The surface behind a painter if it has 32 bits a pixel like the picture, else null.
QImage *surfaceOf(QPainter &painter)
{
    if (painter.device()->devType() != QInternal::Image)
        return nullptr;
    auto *image = static_cast<QImage *>(painter.device());
    const QImage::Format format = image->format();
    const bool isAlike = format == QImage::Format_RGB32 || format == QImage::Format_ARGB32_Premultiplied;
    return isAlike ? image : nullptr;
}

QRgb *pixelsAt(const QImage &image, int x, int y)
{
    return reinterpret_cast<QRgb *>(const_cast<uchar *>(image.constScanLine(y))) + x;
}

/// Draws what is not scaled into the painter's clip, opaque and in one go; false when it is not that simple.
bool copyExactly(QPainter &painter, const QImage &picture, const QRectF &target)
{
    const QImage *surface = surfaceOf(painter);
    const QTransform transform = painter.deviceTransform();
    const QRectF place = transform.mapRect(target);
    const QPoint corner = place.topLeft().toPoint();
    if (!surface || picture.format() != QImage::Format_RGB32 || painter.opacity() < 1 ||
        transform.type() > QTransform::TxScale || transform.m11() < 0 || transform.m22() < 0 ||
        place != QRectF(corner, picture.size()))
        return false;
    const QRegion drawn =
        transform.map(painter.clipRegion()) & surface->rect() & QRect(corner, picture.size());
    for (const QRect &part : drawn) {
        for (int y = part.top(); y <= part.bottom(); ++y) {
            const QRgb *from = pixelsAt(picture, part.left() - corner.x(), y - corner.y());
            std::transform(from, from + part.width(), pixelsAt(*surface, part.left(), y),
                           [](QRgb pixel) { return pixel | opaqueBits; });
        }
    }
    return true;
}

/// Where the picture was drawn its unused bytes became the surface's alpha, if that has any.
void makeOpaque(QPainter &painter, const QRectF &rect)
{
    const QImage *surface = surfaceOf(painter);
    if (!surface) {
        painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
        painter.fillRect(rect, Qt::black);
        return;
    }
    if (!surface->hasAlphaChannel())
        return;
    // Just written and still in the processor's caches: blending would take longer than drawing did.
    const QRegion drawn = painter.deviceTransform().map(painter.clipRegion()) & surface->rect();
    for (const QRect &part : drawn) {
        for (int y = part.top(); y <= part.bottom(); ++y) {
            QRgb *row = pixelsAt(*surface, part.left(), y);
            std::transform(row, row + part.width(), row, [](QRgb pixel) { return pixel | opaqueBits; });
        }
    }
}

void PaintedTile::render(const RenderState *state)
{
    QQuickWindow &window = m_painting.window;
    auto *painter = static_cast<QPainter *>(
        window.rendererInterface()->getResource(&window, QSGRendererInterface::PainterResource));
    if (const QRegion *clip = state->clipRegion(); clip && !clip->isEmpty())
        painter->setClipRegion(*clip, Qt::ReplaceClip);
    painter->setTransform(matrix()->toTransform());
    painter->setOpacity(inheritedOpacity());
    painter->setRenderHint(QPainter::SmoothPixmapTransform, false);
    painter->setClipRect(m_rect, Qt::IntersectClip);

    std::unique_lock<std::mutex> lock;
    if (m_painting.picture.mutex)
        lock = std::unique_lock(*m_painting.picture.mutex);
    if (copyExactly(*painter, m_painting.picture.image, m_painting.target))
        return;
    // The whole picture clipped: tiles scaled by themselves would not meet on the same device pixels.
    painter->drawImage(m_painting.target, m_painting.picture.image);
    makeOpaque(*painter, m_rect);
}

/// The same memory, its unused bytes taken for alpha and its colours for multiplied by it already. Blended
/// over opaque black this gives exactly the colours, opaque, whatever the unused bytes hold.
QImage asTranslucent(const QImage &image)
{
    const auto format = image.format() == QImage::Format_RGB32 ? QImage::Format_ARGB32_Premultiplied
                                                               : QImage::Format_RGBA8888_Premultiplied;
    const auto release = [](void *info) {
        delete static_cast<QImage *>(info);
    };
    return {image.constBits(), image.width(),    image.height(), image.bytesPerLine(), format,
            release,           new QImage(image)};
}

/// A node for each tile on a black background. It transforms nothing itself: below a plain node the software
/// renderer gives tiles that are added later no transformation at all, and they lie at the window's corner.
template<typename Tile>
class TiledScreenNode : public QSGTransformNode, public ScreenNode
{
public:
    TiledScreenNode(QQuickWindow &window, const QSize &tileSize)
        : m_tileSize(tileSize)
        , m_background(window.createRectangleNode())
    {
        m_background->setColor(Qt::black);
        m_background->setFlag(QSGNode::OwnedByParent);
        appendChildNode(m_background);
    }

    [[nodiscard]] QSGNode *asNode() override { return this; }
    void show(const Picture &picture, const QRectF &area, const QRectF &target,
              const QRegion &changed) override;

protected:
    struct Part
    {
        Tile *node;
        QRect pixels;
        QRectF rect; ///< where they are shown
    };

    virtual void begin(const Picture &picture, const QRectF &target) = 0;
    [[nodiscard]] virtual Tile *makeTile() = 0;
    virtual void move(const Part &part) = 0;
    virtual void draw(const Part &part) = 0;

private:
    void split(const QSize &size);

    QSize m_tileSize;
    QSGRectangleNode *m_background;
    QSize m_size;
    QRectF m_target;
    std::vector<Part> m_parts;
};

template<typename Tile>
void TiledScreenNode<Tile>::show(const Picture &picture, const QRectF &area, const QRectF &target,
                                 const QRegion &changed)
{
    if (m_background->rect() != area)
        m_background->setRect(area);
    const QSize size = picture.image.size();
    const bool isOther = size != m_size;
    const bool isElsewhere = isOther || target != m_target;
    begin(picture, target);
    if (isOther)
        split(size);
    m_target = target;
    const qreal scaleX = target.width() / size.width();
    const qreal scaleY = target.height() / size.height();
    for (Part &part : m_parts) {
        if (isElsewhere) {
            const QRect &pixels = part.pixels;
            part.rect = QRectF(QPointF(target.x() + pixels.x() * scaleX, target.y() + pixels.y() * scaleY),
                               QPointF(target.x() + (pixels.x() + pixels.width()) * scaleX,
                                       target.y() + (pixels.y() + pixels.height()) * scaleY));
            move(part);
        }
        if (isOther || changed.intersects(part.pixels))
            draw(part);
        if (!part.node->parent())
            appendChildNode(part.node);
    }
}

template<typename Tile>
void TiledScreenNode<Tile>::split(const QSize &size)
{
    for (const Part &part : m_parts)
        delete part.node;
    m_parts.clear();
    m_size = size;
    const QSize tile = m_tileSize.isEmpty() ? size : m_tileSize;
    for (int y = 0; y < size.height(); y += tile.height()) {
        for (int x = 0; x < size.width(); x += tile.width()) {
            m_parts.push_back({.node = makeTile(),
                               .pixels = QRect(QPoint(x, y), tile) & QRect(QPoint(), size),
                               .rect = {}});
            m_parts.back().node->setFlag(QSGNode::OwnedByParent);
        }
    }
}

class PaintedScreenNode final : public TiledScreenNode<PaintedTile>
{
public:
    PaintedScreenNode(QQuickWindow &window, const QSize &tileSize)
        : TiledScreenNode(window, tileSize)
        , m_painting{.window = window, .picture = {}, .target = {}}
    {}

    [[nodiscard]] bool readsWhenDrawn() const override { return true; }

private:
    void begin(const Picture &picture, const QRectF &target) override
    {
        m_painting.picture = picture;
        m_painting.target = target;
    }
    [[nodiscard]] PaintedTile *makeTile() override { return new PaintedTile(m_painting); }
    void move(const Part &part) override
    {
        part.node->setRect(part.rect);
        part.node->markDirty(QSGNode::DirtyGeometry);
    }
    void draw(const Part &part) override { part.node->markDirty(QSGNode::DirtyMaterial); }

    Painting m_painting;
};

/// With a graphics processor each tile is a texture.
class TexturedScreenNode final : public TiledScreenNode<QSGImageNode>
{
public:
    TexturedScreenNode(QQuickWindow &window, const QSize &tileSize)
        : TiledScreenNode(window, tileSize)
        , m_window(window)
    {}

    /// Where pixels may change, tiles are copies.
    [[nodiscard]] bool readsWhenDrawn() const override { return false; }

private:
    void begin(const Picture &picture, const QRectF &) override { m_picture = picture; }
    [[nodiscard]] QSGImageNode *makeTile() override;
    void move(const Part &part) override { part.node->setRect(part.rect); }
    void draw(const Part &part) override;

    QQuickWindow &m_window;
    Picture m_picture;
};

QSGImageNode *TexturedScreenNode::makeTile()
{
    QSGImageNode *node = m_window.createImageNode();
    node->setFiltering(QSGTexture::Nearest);
    node->setOwnsTexture(true);
    return node;
}

void TexturedScreenNode::draw(const Part &part)
{
    QImage pixels = m_picture.image;
    if (m_picture.mutex) {
        const std::lock_guard lock(*m_picture.mutex);
        pixels = pixels.copy(part.pixels);
    } else if (part.pixels != pixels.rect()) {
        pixels = pixels.copy(part.pixels);
    }
    part.node->setTexture(
        m_window.createTextureFromImage(asTranslucent(pixels), QQuickWindow::TextureHasAlphaChannel));
}

} // namespace

std::unique_ptr<ScreenNode> ScreenNode::create(QQuickWindow &window, const QSize &tileSize)
{
    if (window.rendererInterface()->graphicsApi() == QSGRendererInterface::Software)
        return std::make_unique<PaintedScreenNode>(window, tileSize);
    return std::make_unique<TexturedScreenNode>(window, tileSize);
}
