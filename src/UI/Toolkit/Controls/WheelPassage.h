#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QtQml/qqmlregistration.h>

/// Lets the wheel reach the content of a modal panel over another one, from which Qt 6.4 withholds it.
class WheelPassage : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickItem *content MEMBER m_content WRITE setContent REQUIRED)

public:
    using QObject::QObject;

    void setContent(QQuickItem *content);

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void follow(QQuickWindow *window);

    QPointer<QQuickItem> m_content;
    QPointer<QQuickWindow> m_window;
};
