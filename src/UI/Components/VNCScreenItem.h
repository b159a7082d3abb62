#pragma once

#include "UI/Components/VNCClient.h"

#include <QPointer>
#include <QQuickItem>

/// Draws a client's image without smoothing, as large as fits with its aspect ratio kept, centred on black.
/// Its implicit size is the image's.
class VNCScreenItem : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    /// Not owned; may be null.
    Q_PROPERTY(VNCClient *client READ client WRITE setClient NOTIFY clientChanged)

public:
    explicit VNCScreenItem(QQuickItem *parent = nullptr);

    [[nodiscard]] VNCClient *client() const { return m_client; }
    void setClient(VNCClient *client);

Q_SIGNALS:
    void clientChanged();

protected:
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;

private:
    [[nodiscard]] QImage image() const;
    void showImage();
    [[nodiscard]] QRectF target(const QSize &pictureSize) const;

    QPointer<VNCClient> m_client;
    QMetaObject::Connection m_imageConnection;
    QMetaObject::Connection m_destroyedConnection;
};
