#pragma once

#include <QPointer>
#include <QQuickWindow>
#include <QtQml/qqmlregistration.h>

/// Tells when a window has been drawn for the first time: what is not needed at once is made after that.
class FirstFrame : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickWindow *window READ window WRITE setWindow NOTIFY windowChanged)
    /// Once true it stays so, whatever window comes then.
    Q_PROPERTY(bool drawn READ isDrawn NOTIFY drawnChanged)

public:
    using QObject::QObject;

    [[nodiscard]] QQuickWindow *window() const { return m_window; }
    void setWindow(QQuickWindow *window);
    [[nodiscard]] bool isDrawn() const { return m_isDrawn; }

Q_SIGNALS:
    void windowChanged();
    void drawnChanged();

private:
    void noteFrame();

    QPointer<QQuickWindow> m_window;
    QMetaObject::Connection m_frames;
    bool m_isDrawn = false;
};
