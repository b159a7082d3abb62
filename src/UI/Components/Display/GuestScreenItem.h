#pragma once

#include "RemoteFramebuffer/InputState.h"

#include <QQuickItem>

#include <cstddef>
#include <optional>
#include <span>

/// The base of what shows a guest's screen and passes keys and pointer on to it. While it has the keyboard
/// all keys go to the guest, also those that the window and the desktop would act upon, but for the chord
/// Control and Alt: pressed and released together, without another key, they give the keyboard back. Whatever
/// is down is released when the item loses the keyboard, is hidden or takes no input any more.
class GuestScreenItem : public QQuickItem
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the base of the screens")
    /// Whether keys go to the guest now.
    Q_PROPERTY(bool hasKeyboard READ hasKeyboard NOTIFY hasKeyboardChanged)
    /// Set from outside, e.g. while the guest stands still.
    Q_PROPERTY(bool inputEnabled READ isInputEnabled WRITE setInputEnabled NOTIFY inputEnabledChanged)

public:
    explicit GuestScreenItem(QQuickItem *parent = nullptr);
    ~GuestScreenItem() override;

    [[nodiscard]] bool hasKeyboard() const { return m_hasKeyboard; }
    [[nodiscard]] bool isInputEnabled() const { return m_isInputEnabled; }
    void setInputEnabled(bool isEnabled);

    bool event(QEvent *event) override;

Q_SIGNALS:
    void hasKeyboardChanged();
    void inputEnabledChanged();
    /// The chord was pressed: the focus should go elsewhere.
    void keyboardReleased();

protected:
    /// Pixels of the guest's screen; an empty size without one.
    [[nodiscard]] virtual QSize guestSize() const = 0;
    /// Where of the item the whole screen is drawn.
    [[nodiscard]] virtual QRectF guestRect() const = 0;
    /// Whether there is a guest that takes input now.
    [[nodiscard]] virtual bool canSendInput() const = 0;
    /// Whole client messages of RFB.
    virtual void sendInput(std::span<const std::byte> messages) = 0;
    /// To be called when canSendInput() has changed. What was down is forgotten when nobody takes it any
    /// more.
    void updateInput();

    void keyPressEvent(QKeyEvent *event) override;
    void keyReleaseEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;
    void focusOutEvent(QFocusEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void hoverMoveEvent(QHoverEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;

private:
    enum class Chord
    {
        none,    ///< another key has come between
        partial, ///< one of the two is down
        complete ///< both are
    };

    [[nodiscard]] bool takesInput() const { return m_isInputEnabled && canSendInput(); }
    void send(const rfb::InputState::Messages &messages);
    void releaseAll();
    void watchWindow(QQuickWindow *window);
    void followChord(int key, bool isPress);
    void setHasKeyboard(bool hasKeyboard);
    void grabKeyboard(bool isGrabbed);
    /// The guest's pixel at a place of the item; clamped to the screen, or no value outside of it.
    [[nodiscard]] rfb::Point clampedPixel(QPointF position) const;
    [[nodiscard]] std::optional<rfb::Point> pixel(QPointF position) const;

    QMetaObject::Connection m_windowConnection;
    rfb::InputState m_state;
    bool m_isInputEnabled = true;
    bool m_hasKeyboard = false;
    Chord m_chord = Chord::none;
    int m_chordKey = 0;  ///< the one that is down while the chord is partial
    int m_wheelRest = 0; ///< eighths of a degree that make no whole step yet
};
