#include "App/WindowMemory.h"

#include <QEvent>
#include <QQmlProperty>
#include <QScreen>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

QString sizeKey(const QString &name)
{
    return name + u"/size"_s;
}

QString maximizedKey(const QString &name)
{
    return name + u"/maximized"_s;
}

} // namespace

WindowMemory::WindowMemory(const QString &file, QObject *parent)
    : QObject(parent)
    , m_settings(file, QSettings::IniFormat)
{
    m_writeTimer.setSingleShot(true);
    m_writeTimer.setInterval(writeDelay);
    m_writeTimer.callOnTimeout(this, &WindowMemory::noteAll);
}

WindowMemory::~WindowMemory() = default;

void WindowMemory::follow(QWindow *window, const QString &name)
{
    const QSize remembered = m_settings.value(sizeKey(name)).toSize();
    const QSize size = (remembered.isValid() ? remembered : window->size())
                           .boundedTo(window->screen()->availableSize())
                           .expandedTo(window->minimumSize());
    // Through the property system, which ends the binding to the screen that gave the first size.
    QQmlProperty::write(window, u"width"_s, size.width());
    QQmlProperty::write(window, u"height"_s, size.height());

    m_names.insert(window, name);
    window->installEventFilter(this);
    // A window manager that maximizes a window may tell the new size before the new state.
    const auto noteSoon = [this] {
        m_writeTimer.start();
    };
    connect(window, &QWindow::widthChanged, this, noteSoon);
    connect(window, &QWindow::heightChanged, this, noteSoon);
    connect(window, &QWindow::visibilityChanged, this, noteSoon);
    connect(window, &QObject::destroyed, this, [this, window] { m_names.remove(window); });
}

void WindowMemory::show(QWindow *window) const
{
    if (window->isVisible())
        window->setWindowStates(window->windowStates() & ~Qt::WindowMinimized);
    else if (m_settings.value(maximizedKey(m_names.value(window))).toBool())
        window->showMaximized();
    else
        window->show();
    window->raise();
}

bool WindowMemory::eventFilter(QObject *object, QEvent *event)
{
    if (event->type() == QEvent::Close)
        note(qobject_cast<QWindow *>(object));
    return false;
}

void WindowMemory::note(QWindow *window)
{
    const QString name = m_names.value(window);
    const bool isMaximized = window->visibility() == QWindow::Maximized;
    if (name.isEmpty() || (!isMaximized && window->visibility() != QWindow::Windowed))
        return;
    m_settings.setValue(maximizedKey(name), isMaximized);
    if (!isMaximized)
        m_settings.setValue(sizeKey(name), window->size());
}

void WindowMemory::noteAll()
{
    for (auto window = m_names.keyBegin(); window != m_names.keyEnd(); ++window)
        note(*window);
}
