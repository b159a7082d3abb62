#include "UI/Toolkit/Style/SymbolItem.h"

#include "UI/Toolkit/Style/Appearance.h"

#include <QCache>
#include <QPainter>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSvgRenderer>

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr int usualSize = 16; ///< beside text of usual size
constexpr int usualTextSize = 14;
constexpr qsizetype keptPictures = 500;

struct Key
{
    QString name;
    int extent;
    QRgb color;

    bool operator==(const Key &) const = default;
};

size_t qHash(const Key &key, size_t seed)
{
    return qHashMulti(seed, key.name, key.extent, key.color);
}

QImage draw(const QString &name, int extent, const QColor &color)
{
    QImage image(extent, extent, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QSvgRenderer drawing(u":/qt-project.org/imports/Kelvo/Toolkit/symbols/%1.svg"_s.arg(name));
    if (!drawing.isValid())
        return image; // it has said so
    QPainter painter(&image);
    drawing.render(&painter);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), color);
    return image;
}

} // namespace

SymbolItem::SymbolItem(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    connect(&Appearance::shared(), &Appearance::baseFontPixelSizeChanged, this, &SymbolItem::followTextSize);
    followTextSize();
}

void SymbolItem::setName(const QString &name)
{
    if (std::exchange(m_name, name) == name)
        return;
    polish();
    Q_EMIT nameChanged();
}

void SymbolItem::setSize(int size)
{
    m_hasOwnSize = true;
    useSize(size);
}

void SymbolItem::resetSize()
{
    m_hasOwnSize = false;
    followTextSize();
}

void SymbolItem::setColor(const QColor &color)
{
    if (std::exchange(m_color, color) == color)
        return;
    polish();
    Q_EMIT colorChanged();
}

QImage SymbolItem::picture(const QString &name, int extent, const QColor &color)
{
    static QCache<Key, QImage> cache(keptPictures);
    const Key key = {.name = name, .extent = extent, .color = color.rgba()};
    if (const QImage *known = cache.object(key))
        return *known;
    const QImage image = draw(name, extent, color);
    cache.insert(key, new QImage(image));
    return image;
}

void SymbolItem::updatePolish()
{
    const qreal scale = window() ? window()->effectiveDevicePixelRatio() : 1;
    m_picture = m_name.isEmpty() ? QImage() : picture(m_name, qRound(m_size * scale), m_color);
    m_isPictureNew = true;
    update();
}

QSGNode *SymbolItem::updatePaintNode(QSGNode *node, UpdatePaintNodeData *)
{
    if (m_picture.isNull()) {
        delete node;
        return nullptr;
    }
    auto *image = static_cast<QSGImageNode *>(node);
    if (!image) {
        image = window()->createImageNode();
        image->setOwnsTexture(true);
        image->setFiltering(QSGTexture::Linear);
        m_isPictureNew = true;
    }
    if (std::exchange(m_isPictureNew, false))
        image->setTexture(window()->createTextureFromImage(m_picture));
    image->setRect(boundingRect());
    return image;
}

void SymbolItem::itemChange(ItemChange change, const ItemChangeData &data)
{
    QQuickItem::itemChange(change, data);
    if (change == ItemSceneChange || change == ItemDevicePixelRatioHasChanged)
        polish();
}

void SymbolItem::useSize(int size)
{
    if (std::exchange(m_size, size) == size)
        return;
    setImplicitSize(size, size);
    polish();
    Q_EMIT sizeChanged();
}

void SymbolItem::followTextSize()
{
    if (!m_hasOwnSize)
        useSize(qRound(qreal(usualSize) * Appearance::shared().baseFontPixelSize() / usualTextSize));
}
