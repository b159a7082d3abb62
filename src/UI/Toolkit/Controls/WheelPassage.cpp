#include "UI/Toolkit/Controls/WheelPassage.h"

#include <QCoreApplication>
#include <QWheelEvent>

#include <algorithm>

namespace {

bool isUnder(const QQuickItem &item, const QWheelEvent &wheel)
{
    return item.isVisible() && item.contains(item.mapFromScene(wheel.position()));
}

QList<QQuickItem *> topmostFirst(const QQuickItem &parent)
{
    QList<QQuickItem *> items = parent.childItems();
    std::ranges::stable_sort(items, {}, &QQuickItem::z);
    std::ranges::reverse(items);
    return items;
}

/// Whether the item, or one within it, has taken the wheel.
bool deliver(const QWheelEvent &wheel, QQuickItem &item)
{
    if (!isUnder(item, wheel))
        return false;
    for (QQuickItem *child : topmostFirst(item)) {
        if (deliver(wheel, *child))
            return true;
    }
    QWheelEvent own(item.mapFromScene(wheel.position()), wheel.globalPosition(), wheel.pixelDelta(),
                    wheel.angleDelta(), wheel.buttons(), wheel.modifiers(), wheel.phase(), wheel.inverted(),
                    wheel.source(), wheel.pointingDevice());
    own.setTimestamp(wheel.timestamp()); // what scrolls takes its speed from that
    QCoreApplication::sendEvent(&item, &own);
    return own.isAccepted();
}

} // namespace

void WheelPassage::setContent(QQuickItem *content)
{
    m_content = content;
    connect(content, &QQuickItem::windowChanged, this, &WheelPassage::follow);
    follow(content->window());
}

void WheelPassage::follow(QQuickWindow *window)
{
    if (m_window)
        m_window->removeEventFilter(this);
    m_window = window;
    if (m_window)
        m_window->installEventFilter(this);
}

bool WheelPassage::eventFilter(QObject *watched, QEvent *event)
{
    const QQuickItem *panel = m_content ? m_content->parentItem() : nullptr;
    if (event->type() != QEvent::Wheel || !panel || !panel->parentItem())
        return QObject::eventFilter(watched, event);
    const auto &wheel = *static_cast<const QWheelEvent *>(event);
    const QList<QQuickItem *> panels = topmostFirst(*panel->parentItem());
    const auto top =
        std::ranges::find_if(panels, [&](const QQuickItem *item) { return isUnder(*item, wheel); });
    return top != panels.end() && *top == panel && deliver(wheel, *m_content);
}
