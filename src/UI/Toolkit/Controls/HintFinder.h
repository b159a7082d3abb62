#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <QtQml/qqmlregistration.h>

/// Finds what a pointer that rests in a window wants explained: a control that is disabled and says why in
/// its property `disabledReason`, or a text that was cut off. Disabled items hear nothing of the pointer
/// themselves.
class HintFinder : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QQuickWindow *window READ window WRITE setWindow NOTIFY windowChanged)
    /// What lies under the pointer; null while there is nothing to be said.
    Q_PROPERTY(QQuickItem *item READ item NOTIFY found)
    Q_PROPERTY(QString text READ text NOTIFY found)

public:
    explicit HintFinder(QObject *parent = nullptr);

    [[nodiscard]] QQuickWindow *window() const { return m_window; }
    void setWindow(QQuickWindow *window);
    void setRestTime(std::chrono::milliseconds time) { m_rest.setInterval(time); }
    [[nodiscard]] QQuickItem *item() const { return m_item; }
    [[nodiscard]] QString text() const { return m_text; }

    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    void windowChanged();
    void found();

private:
    void follow(QPointF position);
    void forget();
    void look();
    void set(QQuickItem *item, const QString &text);

    QPointer<QQuickWindow> m_window;
    QPointer<QQuickItem> m_item;
    QString m_text;
    QPointF m_position;
    QTimer m_rest;
};
