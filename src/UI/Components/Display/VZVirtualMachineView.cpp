#include "UI/Components/Display/VZVirtualMachineView.h"

#include "Platform/Hypervisor/DisplayChannel.h"
#include "UI/Components/Display/ScreenTarget.h"

#include <QCursor>
#include <QPixmap>
#include <QQuickWindow>
#include <QRunnable>
#include <QSGNode>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace std::chrono_literals;

namespace {

// Long rows: neighbours in memory are copied fastest.
constexpr QSize tileSize(1024, 32);
constexpr auto retryInterval = 500ms;

/// The framebuffer's own memory, which lives as long as the picture.
ScreenNode::Picture pictureOf(const std::shared_ptr<rfb::Framebuffer> &framebuffer)
{
    if (!framebuffer->pixels)
        return {};
    const auto release = [](void *info) {
        delete static_cast<std::shared_ptr<rfb::Framebuffer> *>(info);
    };
    const QImage image(reinterpret_cast<const uchar *>(framebuffer->pixels.data()), framebuffer->width,
                       framebuffer->height, static_cast<qsizetype>(framebuffer->bytesPerRow()),
                       QImage::Format_RGB32, release, new std::shared_ptr(framebuffer));
    return {.image = image, .mutex = {framebuffer, &framebuffer->mutex}};
}

bool hasDisplay(VZVirtualMachine::State state)
{
    using State = VZVirtualMachine::State;
    return state == State::running || state == State::paused || state == State::pausing ||
           state == State::resuming;
}

} // namespace

VZVirtualMachineView::VZVirtualMachineView(QQuickItem *parent)
    : GuestScreenItem(parent)
{
    setFlag(ItemHasContents);
    m_retry.setSingleShot(true);
    m_retry.setInterval(retryInterval);
    connect(&m_retry, &QTimer::timeout, this, &VZVirtualMachineView::follow);
}

VZVirtualMachineView::~VZVirtualMachineView() = default;

void VZVirtualMachineView::setVirtualMachine(VZVirtualMachine *machine)
{
    if (machine == m_machine)
        return;
    if (m_machine)
        m_machine->disconnect(this);
    disconnectDisplay();
    m_machine = machine;
    if (machine) {
        connect(machine, &VZVirtualMachine::stateChanged, this, &VZVirtualMachineView::follow);
        connect(machine, &QObject::destroyed, this, [this] {
            follow();
            Q_EMIT virtualMachineChanged();
        });
    }
    follow();
    Q_EMIT virtualMachineChanged();
}

void VZVirtualMachineView::follow()
{
    // What is down is released before the guest stands still.
    setInputEnabled(m_machine && m_machine->state() == VZVirtualMachine::State::running);
    if (!m_machine || !hasDisplay(m_machine->state()))
        disconnectDisplay();
    else if (!m_channel)
        connectDisplay();
}

void VZVirtualMachineView::connectDisplay()
{
    try {
        m_channel = std::make_unique<DisplayChannel>(m_machine->openDisplay());
    } catch (const std::exception &) {
        // The machine may be ending and not have said so yet; then there is nothing to show.
        m_retry.start();
        return;
    }
    connect(m_channel.get(), &DisplayChannel::updateReady, this, &VZVirtualMachineView::takeUpdate);
    connect(m_channel.get(), &DisplayChannel::cursorChanged, this, &VZVirtualMachineView::takeCursor);
    connect(m_channel.get(), &DisplayChannel::inputChanged, this, &VZVirtualMachineView::updateInput);
    connect(m_channel.get(), &DisplayChannel::ended, this, &VZVirtualMachineView::handleEnd);
    updateWatching();
}

void VZVirtualMachineView::disconnectDisplay()
{
    m_retry.stop();
    m_channel.reset();
    updateInput();
    m_owesRequest = false;
    m_cursor = {};
    showCursor();
    setPicture({});
}

/// The emulator sends what it likes, so that it may also end a connection that it should not.
void VZVirtualMachineView::handleEnd()
{
    // Called by the channel itself.
    m_channel.release()->deleteLater();
    updateInput();
    m_owesRequest = false;
    m_retry.start();
}

void VZVirtualMachineView::takeUpdate()
{
    const auto update = m_channel->takeUpdate();
    if (!update)
        return;
    if (m_picture.mutex.get() != &update->framebuffer->mutex)
        setPicture(pictureOf(update->framebuffer));
    for (const auto &[x, y, width, height] : update->changed)
        m_changed += QRect(x, y, width, height);
    m_owesRequest = true;
    this->update();
}

void VZVirtualMachineView::setPicture(const ScreenNode::Picture &picture)
{
    m_picture = picture;
    m_changed = picture.image.rect();
    const QSizeF size = QSizeF(picture.image.size()) / (window() ? window()->effectiveDevicePixelRatio() : 1);
    setImplicitSize(size.width(), size.height());
    showCursor();
    update();
}

void VZVirtualMachineView::takeCursor()
{
    const auto shape = m_channel->takeCursor();
    if (!shape)
        return;
    // One without pixels hides the pointer, which a null image would not.
    m_cursor = QImage(std::max<int>(shape->width, 1), std::max<int>(shape->height, 1),
                      QImage::Format_ARGB32_Premultiplied);
    m_cursor.fill(Qt::transparent);
    const auto rowBytes = std::size_t{shape->width} * rfb::Framebuffer::bytesPerPixel;
    for (int y = 0; rowBytes > 0 && y < shape->height; ++y)
        std::copy_n(shape->pixels.data() + static_cast<std::size_t>(y) * rowBytes, rowBytes,
                    reinterpret_cast<std::byte *>(m_cursor.scanLine(y)));
    m_cursorHotSpot = {shape->hotX, shape->hotY};
    showCursor();
}

/// As large as the screen's pixels are.
void VZVirtualMachineView::showCursor()
{
    if (m_cursor.isNull() || !window())
        return unsetCursor();
    const qreal ratio = window()->effectiveDevicePixelRatio();
    const QSizeF shown = guestRect().size();
    const qreal scale = shown.isEmpty() ? 1 : shown.width() * ratio / m_picture.image.width();
    const QSize scaled = (QSizeF(m_cursor.size()) * scale).toSize().expandedTo({1, 1});
    QPixmap pixmap = QPixmap::fromImage(m_cursor.scaled(scaled));
    pixmap.setDevicePixelRatio(ratio);
    const QPoint hotSpot = (QPointF(m_cursorHotSpot) * scale / ratio).toPoint();
    setCursor(QCursor(pixmap, hotSpot.x(), hotSpot.y()));
}

QRectF VZVirtualMachineView::guestRect() const
{
    return screenTarget(size(), guestSize(), window() ? window()->effectiveDevicePixelRatio() : 1);
}

bool VZVirtualMachineView::canSendInput() const
{
    return m_channel && m_channel->takesExtendedKeys();
}

void VZVirtualMachineView::sendInput(std::span<const std::byte> messages)
{
    // An emulator that does not read has lost what was typed; the guest would not have seen it either.
    (void)m_channel->send(messages);
}

QSGNode *VZVirtualMachineView::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    auto *node = dynamic_cast<ScreenNode *>(oldNode);
    if (!node)
        node = ScreenNode::create(*window(), tileSize).release();
    const QRectF target = screenTarget(size(), m_picture.image.size(), window()->effectiveDevicePixelRatio());
    node->show(m_picture, boundingRect(), target, std::exchange(m_changed, {}));
    // An item that is not seen is asked to paint as well.
    if (m_channel && isVisible() && std::exchange(m_owesRequest, false)) {
        if (node->readsWhenDrawn()) {
            // Such a window is drawn by the main thread.
            const auto request = [channel = QPointer(m_channel.get())] {
                if (channel)
                    channel->requestUpdate();
            };
            window()->scheduleRenderJob(QRunnable::create(request), QQuickWindow::AfterRenderingStage);
        } else {
            m_channel->requestUpdate();
        }
    }
    return node->asNode();
}

void VZVirtualMachineView::itemChange(ItemChange change, const ItemChangeData &data)
{
    if (change == ItemSceneChange)
        followWindow(data.window);
    if (change == ItemSceneChange || change == ItemVisibleHasChanged)
        updateWatching();
    if (change == ItemVisibleHasChanged)
        update();
    if (change == ItemDevicePixelRatioHasChanged)
        setPicture(m_picture);
    GuestScreenItem::itemChange(change, data);
}

void VZVirtualMachineView::geometryChange(const QRectF &newGeometry, const QRectF &oldGeometry)
{
    QQuickItem::geometryChange(newGeometry, oldGeometry);
    showCursor();
    update();
}

void VZVirtualMachineView::followWindow(QQuickWindow *window)
{
    disconnect(m_windowConnection);
    if (window)
        m_windowConnection =
            connect(window, &QWindow::visibilityChanged, this, &VZVirtualMachineView::updateWatching);
}

void VZVirtualMachineView::updateWatching()
{
    if (!m_channel)
        return;
    const bool isShown = isVisible() && window() && window()->visibility() != QWindow::Hidden &&
                         window()->visibility() != QWindow::Minimized;
    m_channel->setWatched(isShown);
}
