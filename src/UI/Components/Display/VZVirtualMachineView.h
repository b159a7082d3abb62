#pragma once

#include "Platform/Hypervisor/VZVirtualMachine.h"
#include "UI/Components/Display/GuestScreenItem.h"
#include "UI/Components/Display/ScreenNode.h"

#include <QPointer>
#include <QTimer>

#include <memory>

class DisplayChannel;

/// How QML sees the type of a property.
struct VZVirtualMachineForeign
{
    Q_GADGET
    QML_FOREIGN(VZVirtualMachine)
    QML_NAMED_ELEMENT(VZVirtualMachine)
    QML_UNCREATABLE("Machines are made by their controllers.")
};

/// Shows the screen of a guest on the host hypervisor layer, without smoothing, as large as fits with its
/// aspect ratio kept, centred on black. It connects when the machine runs, and again when it runs anew. Its
/// implicit size is the screen's, one device pixel for each of the guest's.
class VZVirtualMachineView : public GuestScreenItem
{
    Q_OBJECT
    QML_ELEMENT
    /// Not owned; may be null.
    Q_PROPERTY(VZVirtualMachine *virtualMachine READ virtualMachine WRITE setVirtualMachine NOTIFY
                   virtualMachineChanged)

public:
    explicit VZVirtualMachineView(QQuickItem *parent = nullptr);
    ~VZVirtualMachineView() override;

    [[nodiscard]] VZVirtualMachine *virtualMachine() const { return m_machine; }
    void setVirtualMachine(VZVirtualMachine *machine);

Q_SIGNALS:
    void virtualMachineChanged();

protected:
    [[nodiscard]] QSize guestSize() const override { return m_picture.image.size(); }
    [[nodiscard]] QRectF guestRect() const override;
    [[nodiscard]] bool canSendInput() const override;
    void sendInput(std::span<const std::byte> messages) override;

    QSGNode *updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *data) override;
    void itemChange(ItemChange change, const ItemChangeData &data) override;
    void geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry) override;

private:
    void follow();
    void connectDisplay();
    void disconnectDisplay();
    void handleEnd();
    void followWindow(QQuickWindow *window);
    void updateWatching();
    void takeUpdate();
    void setPicture(const ScreenNode::Picture &picture);
    void takeCursor();
    void showCursor();

    QPointer<VZVirtualMachine> m_machine;
    std::unique_ptr<DisplayChannel> m_channel;
    QTimer m_retry;
    QMetaObject::Connection m_windowConnection;
    ScreenNode::Picture m_picture;
    /// What updatePaintNode() has not shown yet.
    QRegion m_changed;
    bool m_owesRequest = false;
    /// A null one for the host's own.
    QImage m_cursor;
    QPoint m_cursorHotSpot;
};
