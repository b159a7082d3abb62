#pragma once

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWindow>

#include <linux/input-event-codes.h>

/// A key with its place on the keyboard, which X11 and Wayland tell and QTest does not.
struct PlacedKey
{
    int key;
    quint32 code; ///< linux/input-event-codes.h
};

constexpr PlacedKey aKey{Qt::Key_A, KEY_A};
constexpr PlacedKey controlKey{Qt::Key_Control, KEY_LEFTCTRL};
constexpr PlacedKey altKey{Qt::Key_Alt, KEY_LEFTALT};

inline void sendKey(QWindow &window, QEvent::Type type, PlacedKey key, bool isRepeat = false)
{
    QKeyEvent event(type, key.key, {}, key.code + 8, 0, 0, {}, isRepeat);
    QCoreApplication::sendEvent(&window, &event);
}
