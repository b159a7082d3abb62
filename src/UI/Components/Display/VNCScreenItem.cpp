#include "UI/Components/Display/VNCScreenItem.h"

#include "UI/Components/Display/ScreenNode.h"
#include "UI/Components/Display/ScreenTarget.h"

#include <QQuickWindow>
#include <QSGNode>

#include <utility>

VNCScreenItem::VNCScreenItem(QQuickItem *parent)
    : GuestScreenItem(parent)
{
    setFlag(ItemHasContents);
}

void VNCScreenItem::setClient(VNCClient *client)
{
    if (client == m_client)
        return;
    QObject::disconnect(m_imageConnection);
    QObject::disconnect(m_destroyedConnection);
    m_client = client;
    if (client) {
        m_imageConnection = connect(client, &VNCClient::imageChanged, this, &VNCScreenItem::showImage);
        m_destroyedConnection = connect(client, &QObject::destroyed, this, [this] {
            showImage();
            Q_EMIT clientChanged();
        });
    }
    showImage();
    Q_EMIT clientChanged();
}

void VNCScreenItem::setInput(VNCInputConnection *input)
{
    if (input == m_input)
        return;
    if (m_input)
        QObject::disconnect(m_input, nullptr, this, nullptr);
    m_input = input;
    if (input)
        connect(input, &VNCInputConnection::isAvailableChanged, this, &VNCScreenItem::updateInput);
    updateInput();
    Q_EMIT inputChanged();
}

void VNCScreenItem::sendInput(std::span<const std::byte> messages)
{
    m_input->send(messages);
}

QRectF VNCScreenItem::guestRect() const
{
    return window() ? screenTarget(size(), guestSize(), window()->effectiveDevicePixelRatio()) : QRectF();
}

QImage VNCScreenItem::image() const
{
    return m_client ? m_client->image() : QImage();
}

void VNCScreenItem::showImage()
{
    const QSize size = image().size();
    setImplicitSize(size.width(), size.height());
    update();
}

QSGNode *VNCScreenItem::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    auto *node = dynamic_cast<ScreenNode *>(oldNode);
    // Every picture is new as a whole.
    if (!node)
        node = ScreenNode::create(*window(), {}).release();
    const QImage picture = image();
    const bool isNew = std::exchange(m_shownKey, picture.cacheKey()) != picture.cacheKey();
    node->show({.image = picture, .mutex = {}}, boundingRect(), guestRect(),
               isNew ? picture.rect() : QRect());
    return node->asNode();
}
