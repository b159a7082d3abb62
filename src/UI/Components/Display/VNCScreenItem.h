#pragma once

#include "UI/Components/Display/GuestScreenItem.h"
#include "UI/Components/Display/VNCClient.h"
#include "UI/Components/Display/VNCInputConnection.h"

#include <QPointer>

/// Draws a client's image without smoothing, as large as fits with its aspect ratio kept, centred on black.
/// Its implicit size is the image's.
class VNCScreenItem : public GuestScreenItem
{
    Q_OBJECT
    QML_ELEMENT
    /// Not owned; may be null.
    Q_PROPERTY(VNCClient *client READ client WRITE setClient NOTIFY clientChanged)
    /// Carries keys and pointer. Not owned; may be null.
    Q_PROPERTY(VNCInputConnection *input READ input WRITE setInput NOTIFY inputChanged)

public:
    explicit VNCScreenItem(QQuickItem *parent = nullptr);

    [[nodiscard]] VNCClient *client() const { return m_client; }
    void setClient(VNCClient *client);
    [[nodiscard]] VNCInputConnection *input() const { return m_input; }
    void setInput(VNCInputConnection *input);

Q_SIGNALS:
    void clientChanged();
    void inputChanged();

protected:
    [[nodiscard]] QSize guestSize() const override { return image().size(); }
    [[nodiscard]] QRectF guestRect() const override;
    [[nodiscard]] bool canSendInput() const override { return m_input && m_input->isAvailable(); }
    void sendInput(std::span<const std::byte> messages) override;
    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;

private:
    [[nodiscard]] QImage image() const;
    void showImage();

    QPointer<VNCClient> m_client;
    QPointer<VNCInputConnection> m_input;
    QMetaObject::Connection m_imageConnection;
    QMetaObject::Connection m_destroyedConnection;
    qint64 m_shownKey = 0;
};
