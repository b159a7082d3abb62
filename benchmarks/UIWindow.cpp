#include "App/KelvoApp.h"
#include "App/State/AppState.h"
#include "LibraryOnDisk.h"
#include "Platform/LocalizedError.h"
#include "ProcessUsage.h"
#include "UIBenchmark.h"
#include "Virtualization/VMManager.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// As many cards as there are machines, with as much on them as makes a card.
constexpr auto bareProgram = R"(
import QtQuick

Window {
    id: root

    required property var names

    width: 1120
    height: 740
    visible: true

    GridView {
        anchors.fill: parent
        cellWidth: 360
        cellHeight: 250
        cacheBuffer: 400
        reuseItems: true
        model: root.names

        delegate: Item {
            id: card

            required property string modelData

            width: 360
            height: 250

            Rectangle {
                anchors.fill: parent
                anchors.margins: 8
                radius: 12
                border.color: "lightgray"
            }
            Text {
                x: 24
                y: 24
                text: card.modelData
            }
        }
    }
}
)";

double now()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

QQuickItem *findGrid(QQuickItem *item)
{
    if (item->inherits("QQuickGridView") && item->isVisible())
        return item;
    for (QQuickItem *child : item->childItems())
        if (QQuickItem *found = findGrid(child))
            return found;
    return nullptr;
}

void pause(std::chrono::milliseconds duration)
{
    QEventLoop loop;
    QTimer::singleShot(duration, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Measures what the main thread does for one frame: moving the list and, in the render loop, drawing it.
class FrameWatch : public QObject
{
public:
    explicit FrameWatch(QQuickWindow &window)
    {
        window.installEventFilter(this);
        connect(&window, &QQuickWindow::frameSwapped, this, [this] {
            m_milliseconds += static_cast<double>(m_timer.nsecsElapsed()) / 1e6;
            m_loop.quit();
        });
    }

    double scrollTo(QQuickItem &grid, double contentY)
    {
        m_timer.start();
        grid.setProperty("contentY", contentY);
        m_milliseconds = static_cast<double>(m_timer.nsecsElapsed()) / 1e6;
        m_loop.exec();
        return m_milliseconds;
    }

protected:
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest)
            m_timer.start();
        return QObject::eventFilter(object, event);
    }

private:
    QEventLoop m_loop;
    QElapsedTimer m_timer;
    double m_milliseconds = 0;
};

/// The longest of `frames` frames, each `step` below the one before.
double longestFrame(FrameWatch &watch, QQuickItem &grid, int frames, double step)
{
    double longest = 0;
    const double top = grid.property("originY").toDouble();
    for (int frame = 1; frame <= frames; ++frame)
        longest = std::max(longest, watch.scrollTo(grid, top + frame * step));
    return longest;
}

QJsonObject measure(QQuickWindow &window)
{
    double firstFrame = 0;
    QQuickItem *grid = nullptr;
    QEventLoop loop;
    const auto connection = QObject::connect(&window, &QQuickWindow::frameSwapped, &loop, [&] {
        grid = findGrid(window.contentItem());
        if (!grid)
            return;
        firstFrame = now();
        loop.quit();
    });
    loop.exec();
    QObject::disconnect(connection);
    pause(300ms);
    const double mebibytes = static_cast<double>(ProcessUsage::now().residentBytes) / (1 << 20);

    constexpr int frames = 300;
    constexpr double notch = 120;
    const double length = std::max(0.0, grid->property("contentHeight").toDouble() - grid->height());
    QJsonObject result{{"firstFrame"_L1, firstFrame}, {"residentMebibytes"_L1, mebibytes}};
    if (length > 0) {
        FrameWatch watch(window);
        const int notches = std::min(frames, static_cast<int>(length / notch));
        result.insert("longestWheelFrame"_L1, longestFrame(watch, *grid, notches, notch));
        result.insert("longestDragFrame"_L1, longestFrame(watch, *grid, frames, length / frames));
    }
    return result;
}

QJsonObject measureShipped(const QString &home)
{
    KelvoApp kelvo(std::make_unique<AppState>(std::make_unique<VMManager>(VMManager::defaultCollaborators())),
                   home + u"/windows.conf"_s);
    if (!kelvo.start())
        throw LocalizedError(u"The main window could not be made."_s);
    return measure(*kelvo.mainWindow());
}

QJsonObject measureBare(const QString &home)
{
    const QStringList names = readPlainly(home + u"/Virtual Machines"_s).names;
    QQmlEngine engine;
    QQmlComponent component(&engine);
    component.setData(bareProgram, QUrl());
    const std::unique_ptr<QObject> made(component.createWithInitialProperties({{u"names"_s, names}}));
    auto *window = qobject_cast<QQuickWindow *>(made.get());
    if (!window)
        throw LocalizedError(component.errorString());
    return measure(*window);
}

} // namespace

QJsonObject runUIWindow(const QStringList &arguments)
{
    if (arguments.size() != 3)
        throw LocalizedError(u"This command is for the benchmark “ui”."_s);
    QQuickWindow::setTextRenderType(QQuickWindow::NativeTextRendering);
    return arguments.at(1) == u"shipped" ? measureShipped(arguments.at(2)) : measureBare(arguments.at(2));
}
