#include "UI/Toolkit/Controls/HintFinder.h"

#include <QHoverEvent>

#include <algorithm>
#include <utility>

namespace {

/// Empty where an item needs no explanation.
QString hintOf(const QQuickItem &item)
{
    if (!item.isEnabled())
        return item.property("disabledReason").toString();
    const bool isCut = item.property("truncated").toBool();
    return isCut ? item.property("text").toString() : QString();
}

bool isUnder(const QQuickItem &item, QPointF position)
{
    return item.contains(item.mapFromScene(position));
}

/// The topmost item at a place of the window that needs an explanation.
QQuickItem *find(const QQuickItem &parent, QPointF position)
{
    QList<QQuickItem *> items = parent.childItems();
    std::ranges::stable_sort(items, {}, &QQuickItem::z);
    std::ranges::reverse(items); // the topmost first
    for (QQuickItem *item : std::as_const(items)) {
        if (!item->isVisible() || (item->clip() && !isUnder(*item, position)))
            continue;
        if (QQuickItem *inner = find(*item, position))
            return inner;
        if (isUnder(*item, position) && !hintOf(*item).isEmpty())
            return item;
    }
    return nullptr;
}

/// Where popups are, if there are any now; what lies below them is not looked at.
const QQuickItem &front(const QQuickItem &root)
{
    const QList<QQuickItem *> items = root.childItems();
    const auto overlay = std::ranges::find_if(
        items, [](const QQuickItem *item) { return item->isVisible() && item->inherits("QQuickOverlay"); });
    return overlay == items.end() ? root : **overlay;
}

} // namespace

HintFinder::HintFinder(QObject *parent)
    : QObject(parent)
{
    m_rest.setSingleShot(true);
    m_rest.setInterval(600);
    connect(&m_rest, &QTimer::timeout, this, &HintFinder::look);
}

void HintFinder::setWindow(QQuickWindow *window)
{
    if (m_window == window)
        return;
    if (m_window)
        m_window->removeEventFilter(this);
    forget();
    m_window = window;
    if (m_window)
        m_window->installEventFilter(this);
    Q_EMIT windowChanged();
}

bool HintFinder::eventFilter(QObject *watched, QEvent *event)
{
    switch (event->type()) {
    case QEvent::MouseMove:
        follow(static_cast<QMouseEvent *>(event)->position());
        break;
    case QEvent::Leave:
    case QEvent::MouseButtonPress:
    case QEvent::Wheel:
    case QEvent::KeyPress:
        forget();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void HintFinder::follow(QPointF position)
{
    m_position = position;
    if (m_item && isUnder(*m_item, position))
        return;
    forget();
    m_rest.start();
}

void HintFinder::forget()
{
    m_rest.stop();
    set(nullptr, QString());
}

void HintFinder::look()
{
    if (!m_window)
        return;
    QQuickItem *item = find(front(*m_window->contentItem()), m_position);
    set(item, item ? hintOf(*item) : QString());
}

void HintFinder::set(QQuickItem *item, const QString &text)
{
    if (m_item == item && m_text == text)
        return;
    m_item = item;
    m_text = text;
    Q_EMIT found();
}
