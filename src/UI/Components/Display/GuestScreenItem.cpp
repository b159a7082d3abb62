#include "UI/Components/Display/GuestScreenItem.h"

#include "RemoteFramebuffer/ScanCode.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPointer>
#include <QQuickWindow>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

/// The key by its place, whatever it means on the host's layout.
std::optional<std::uint8_t> scanCodeOf(const QKeyEvent &event)
{
    constexpr quint32 first = 8; // X11 counts its key codes from here, and Wayland's clients keep to that.
    const quint32 native = event.nativeScanCode();
    return native > first ? rfb::scanCodeOfKeyCode(native - first) : std::nullopt;
}

std::optional<rfb::InputState::Button> buttonOf(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton:
        return rfb::InputState::Button::Left;
    case Qt::MiddleButton:
        return rfb::InputState::Button::Middle;
    case Qt::RightButton:
        return rfb::InputState::Button::Right;
    default:
        return std::nullopt;
    }
}

std::uint16_t pixelOf(qreal position, qreal shown, int pixels)
{
    const qreal index = std::floor(position * pixels / shown);
    return static_cast<std::uint16_t>(std::clamp<qreal>(index, 0, pixels - 1));
}

} // namespace

GuestScreenItem::GuestScreenItem(QQuickItem *parent)
    : QQuickItem(parent)
{
    setAcceptedMouseButtons(Qt::LeftButton | Qt::MiddleButton | Qt::RightButton);
    setAcceptHoverEvents(true);
    setActiveFocusOnTab(true);
    watchWindow(window());
}

GuestScreenItem::~GuestScreenItem()
{
    grabKeyboard(false);
}

void GuestScreenItem::setInputEnabled(bool isEnabled)
{
    if (isEnabled == m_isInputEnabled)
        return;
    if (!isEnabled)
        releaseAll();
    m_isInputEnabled = isEnabled;
    updateInput();
    Q_EMIT inputEnabledChanged();
}

void GuestScreenItem::updateInput()
{
    if (!takesInput())
        (void)m_state.releaseAll();
    setHasKeyboard(hasActiveFocus() && takesInput() && window()->isVisible());
}

bool GuestScreenItem::event(QEvent *event)
{
    // Whoever accepts this has the key before every shortcut of the window.
    if (event->type() == QEvent::ShortcutOverride && m_hasKeyboard) {
        event->accept();
        return true;
    }
    return QQuickItem::event(event);
}

void GuestScreenItem::keyPressEvent(QKeyEvent *event)
{
    if (!m_hasKeyboard)
        return event->ignore();
    // The guest repeats by itself.
    if (event->isAutoRepeat())
        return;
    followChord(event->key(), true);
    if (const auto scanCode = scanCodeOf(*event))
        send(m_state.press(*scanCode));
}

void GuestScreenItem::keyReleaseEvent(QKeyEvent *event)
{
    if (!m_hasKeyboard)
        return event->ignore();
    if (event->isAutoRepeat())
        return;
    if (const auto scanCode = scanCodeOf(*event))
        send(m_state.release(*scanCode));
    followChord(event->key(), false);
}

void GuestScreenItem::followChord(int key, bool isPress)
{
    const bool isPart = key == Qt::Key_Control || key == Qt::Key_Alt;
    if (!isPress) {
        if (std::exchange(m_chord, Chord::none) == Chord::complete) {
            releaseAll();
            Q_EMIT keyboardReleased();
        }
    } else if (isPart && m_state.pressedKeys().empty()) {
        m_chord = Chord::partial;
        m_chordKey = key;
    } else if (isPart && m_chord == Chord::partial && key != m_chordKey) {
        m_chord = Chord::complete;
    } else {
        m_chord = Chord::none;
    }
}

void GuestScreenItem::focusInEvent(QFocusEvent *event)
{
    QQuickItem::focusInEvent(event);
    updateInput();
}

void GuestScreenItem::focusOutEvent(QFocusEvent *event)
{
    QQuickItem::focusOutEvent(event);
    releaseAll();
    setHasKeyboard(false);
}

void GuestScreenItem::mousePressEvent(QMouseEvent *event)
{
    forceActiveFocus(Qt::MouseFocusReason);
    const auto button = buttonOf(event->button());
    const auto at = pixel(event->position());
    if (takesInput() && button && at)
        send(m_state.press(*button, *at));
}

void GuestScreenItem::mouseMoveEvent(QMouseEvent *event)
{
    if (takesInput() && m_state.hasPressedButtons())
        send(m_state.movePointer(clampedPixel(event->position())));
}

void GuestScreenItem::mouseReleaseEvent(QMouseEvent *event)
{
    const auto button = buttonOf(event->button());
    if (takesInput() && button && m_state.hasPressedButtons())
        send(m_state.release(*button, clampedPixel(event->position())));
}

void GuestScreenItem::mouseUngrabEvent()
{
    if (m_state.hasPressedButtons())
        releaseAll();
}

void GuestScreenItem::hoverMoveEvent(QHoverEvent *event)
{
    const auto at = pixel(event->position());
    if (takesInput() && at)
        send(m_state.movePointer(*at));
}

void GuestScreenItem::wheelEvent(QWheelEvent *event)
{
    const auto at = pixel(event->position());
    if (!takesInput() || !at)
        return;
    m_wheelRest += event->angleDelta().y();
    const int steps = m_wheelRest / QWheelEvent::DefaultDeltasPerStep;
    m_wheelRest -= steps * QWheelEvent::DefaultDeltasPerStep;
    using enum rfb::InputState::Wheel;
    // A touchpad's swing must not become an endless queue.
    constexpr int maximumSteps = 20;
    if (steps != 0)
        send(m_state.turn(steps > 0 ? Up : Down, std::min(std::abs(steps), maximumSteps), *at));
}

void GuestScreenItem::itemChange(ItemChange change, const ItemChangeData &value)
{
    if (change == ItemVisibleHasChanged && !value.boolValue) {
        releaseAll();
        setFocus(false);
    } else if (change == ItemSceneChange) {
        grabKeyboard(false);
        watchWindow(value.window);
    }
    QQuickItem::itemChange(change, value);
}

void GuestScreenItem::watchWindow(QQuickWindow *window)
{
    QObject::disconnect(m_windowConnection);
    if (window)
        m_windowConnection = connect(window, &QWindow::visibleChanged, this, [this](bool isVisible) {
            if (!isVisible)
                releaseAll();
            updateInput();
        });
}

void GuestScreenItem::send(const rfb::InputState::Messages &messages)
{
    if (!messages.empty())
        sendInput(messages);
}

void GuestScreenItem::releaseAll()
{
    m_chord = Chord::none;
    m_wheelRest = 0;
    const rfb::InputState::Messages messages = m_state.releaseAll();
    if (takesInput())
        send(messages);
}

void GuestScreenItem::setHasKeyboard(bool hasKeyboard)
{
    if (hasKeyboard == m_hasKeyboard)
        return;
    m_hasKeyboard = hasKeyboard;
    grabKeyboard(hasKeyboard);
    Q_EMIT hasKeyboardChanged();
}

void GuestScreenItem::grabKeyboard(bool isGrabbed)
{
    // Only X11 lets a window have the keys that its window manager acts upon.
    if (window() && QGuiApplication::platformName() == "xcb"_L1)
        window()->setKeyboardGrabEnabled(isGrabbed);
}

rfb::Point GuestScreenItem::clampedPixel(QPointF position) const
{
    const QRectF shown = guestRect();
    const QSize pixels = guestSize();
    if (shown.isEmpty() || pixels.isEmpty())
        return {};
    return {pixelOf(position.x() - shown.x(), shown.width(), pixels.width()),
            pixelOf(position.y() - shown.y(), shown.height(), pixels.height())};
}

std::optional<rfb::Point> GuestScreenItem::pixel(QPointF position) const
{
    if (!guestRect().contains(position) || guestSize().isEmpty())
        return std::nullopt;
    return clampedPixel(position);
}
