#include "UI/Components/FirstFrame.h"

void FirstFrame::setWindow(QQuickWindow *window)
{
    if (m_window == window)
        return;
    disconnect(m_frames);
    m_window = window;
    if (m_window && !m_isDrawn) {
        // Sent by the render thread where there is one.
        m_frames = connect(m_window, &QQuickWindow::frameSwapped, this, &FirstFrame::noteFrame,
                           Qt::QueuedConnection);
    }
    Q_EMIT windowChanged();
}

void FirstFrame::noteFrame()
{
    disconnect(m_frames);
    if (m_isDrawn)
        return;
    m_isDrawn = true;
    Q_EMIT drawnChanged();
}
