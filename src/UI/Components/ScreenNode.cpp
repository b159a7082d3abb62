#include "UI/Components/ScreenNode.h"

#include <QColor>
#include <QPainter>
#include <QPixmap>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <QSGRenderNode>
#include <QSGRendererInterface>

#include <utility>

namespace {

/// With the software renderer the picture is painted straight from its memory.
class PaintedScreenNode final : public QSGRenderNode, public ScreenNode
{
public:
    explicit PaintedScreenNode(QQuickWindow &window)
        : m_window(window)
    {}

    [[nodiscard]] QSGNode *asNode() override { return this; }
    void show(const QImage &image, const QRectF &area, const QRectF &target) override;

    [[nodiscard]] RenderingFlags flags() const override { return BoundedRectRendering; }
    [[nodiscard]] QRectF rect() const override { return m_area; }
    void render(const RenderState *state) override;

private:
    QQuickWindow &m_window;
    QImage m_image;
    QRectF m_area;
    QRectF m_target;
};

void PaintedScreenNode::show(const QImage &image, const QRectF &area, const QRectF &target)
{
    m_image = image;
    m_area = area;
    m_target = target;
    markDirty(QSGNode::DirtyMaterial | QSGNode::DirtyGeometry);
}

bool hasAlphaChannel(const QPaintDevice &device)
{
    switch (device.devType()) {
    case QInternal::Image:
        return static_cast<const QImage &>(device).hasAlphaChannel();
    case QInternal::Pixmap:
        return static_cast<const QPixmap &>(device).hasAlphaChannel();
    default:
        return true;
    }
}

void PaintedScreenNode::render(const RenderState *state)
{
    auto *painter = static_cast<QPainter *>(
        m_window.rendererInterface()->getResource(&m_window, QSGRendererInterface::PainterResource));
    if (const QRegion *clip = state->clipRegion(); clip && !clip->isEmpty())
        painter->setClipRegion(*clip, Qt::ReplaceClip);
    painter->setTransform(matrix()->toTransform());
    painter->setOpacity(inheritedOpacity());
    painter->setRenderHint(QPainter::SmoothPixmapTransform, false);

    painter->fillRect(m_area, Qt::black);
    if (m_image.isNull())
        return;
    painter->drawImage(m_target, m_image);
    // Such a surface has got the picture's unused bytes for its alpha.
    if (hasAlphaChannel(*painter->device())) {
        painter->setCompositionMode(QPainter::CompositionMode_DestinationOver);
        painter->fillRect(m_target, Qt::black);
    }
}

/// With a graphics processor the picture becomes a texture.
class TexturedScreenNode final : public QSGNode, public ScreenNode
{
public:
    explicit TexturedScreenNode(QQuickWindow &window);

    [[nodiscard]] QSGNode *asNode() override { return this; }
    void show(const QImage &image, const QRectF &area, const QRectF &target) override;

private:
    [[nodiscard]] static QImage asTranslucent(const QImage &image);

    QQuickWindow &m_window;
    QSGRectangleNode *m_background;
    QSGImageNode *m_picture = nullptr;
    qint64 m_imageKey = 0;
};

TexturedScreenNode::TexturedScreenNode(QQuickWindow &window)
    : m_window(window)
    , m_background(window.createRectangleNode())
{
    m_background->setColor(Qt::black);
    m_background->setFlag(QSGNode::OwnedByParent);
    appendChildNode(m_background);
}

void TexturedScreenNode::show(const QImage &image, const QRectF &area, const QRectF &target)
{
    m_background->setRect(area);
    if (image.isNull()) {
        delete std::exchange(m_picture, nullptr);
        return;
    }
    if (!m_picture) {
        m_picture = m_window.createImageNode();
        m_picture->setFiltering(QSGTexture::Nearest);
        m_picture->setOwnsTexture(true);
        m_picture->setFlag(QSGNode::OwnedByParent);
    }
    if (!m_picture->texture() || image.cacheKey() != m_imageKey) {
        m_picture->setTexture(
            m_window.createTextureFromImage(asTranslucent(image), QQuickWindow::TextureHasAlphaChannel));
        m_imageKey = image.cacheKey();
    }
    m_picture->setRect(target);
    if (!m_picture->parent())
        appendChildNode(m_picture);
}

/// The same memory, its unused bytes taken for alpha and its colours for multiplied by it already. Blended
/// over opaque black this gives exactly the colours, opaque, whatever the unused bytes hold.
QImage TexturedScreenNode::asTranslucent(const QImage &image)
{
    const auto format = image.format() == QImage::Format_RGB32 ? QImage::Format_ARGB32_Premultiplied
                                                               : QImage::Format_RGBA8888_Premultiplied;
    const auto release = [](void *info) {
        delete static_cast<QImage *>(info);
    };
    return {image.constBits(), image.width(),    image.height(), image.bytesPerLine(), format,
            release,           new QImage(image)};
}

} // namespace

std::unique_ptr<ScreenNode> ScreenNode::create(QQuickWindow &window)
{
    if (window.rendererInterface()->graphicsApi() == QSGRendererInterface::Software)
        return std::make_unique<PaintedScreenNode>(window);
    return std::make_unique<TexturedScreenNode>(window);
}
