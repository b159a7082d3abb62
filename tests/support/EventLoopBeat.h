#pragma once

#include "support/Patience.h"

#include <QFile>
#include <QString>
#include <QTimer>

#include <algorithm>
#include <chrono>

/// Measures the longest time for which the event loop of this thread did not turn since this was made. Time
/// in which the thread could have run, but the host gave its processors to others, does not count; what a
/// host that is a virtual machine itself loses to its neighbours does. So only tests with the label "timing"
/// judge what was measured.
class EventLoopBeat
{
#if defined(__SANITIZE_THREAD__)
    static constexpr int slowdown = 10;
#elif defined(__SANITIZE_ADDRESS__)
    static constexpr int slowdown = 3;
#else
    static constexpr int slowdown = 1;
#endif

public:
    /// One picture of a 60 Hz screen.
    static constexpr std::chrono::milliseconds unnoticed{16 * slowdown};
    /// Also when children are launched meanwhile: posix_spawn(3) waits until the child has been given a
    /// processor, which a busy host may put off.
    static constexpr std::chrono::milliseconds unnoticedWithLaunch{60 * slowdown};

    EventLoopBeat()
    {
        m_timer.callOnTimeout([this] {
            const std::chrono::nanoseconds now = ownTime();
            m_longest = std::max(m_longest, now - m_lastTurn);
            m_lastTurn = now;
        });
        m_timer.setTimerType(Qt::PreciseTimer);
        m_timer.start(1);
    }

    /// Empty, or what was measured where it is judged and was longer.
    [[nodiscard]] QString complaint(std::chrono::milliseconds limit) const
    {
        if (!judgesTime() || longestPause() < limit)
            return {};
        return QStringLiteral("the event loop stood still for %1 ms").arg(longestPause().count());
    }
    [[nodiscard]] std::chrono::milliseconds longestPause() const
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(m_longest);
    }

private:
    /// The wall clock less the time spent waiting for a processor (the second field of schedstat).
    [[nodiscard]] static std::chrono::nanoseconds ownTime()
    {
        QFile file(QStringLiteral("/proc/thread-self/schedstat"));
        const QByteArray fields = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        const std::chrono::nanoseconds delayed(fields.split(' ').value(1).toLongLong());
        return std::chrono::steady_clock::now().time_since_epoch() - delayed;
    }

    QTimer m_timer;
    std::chrono::nanoseconds m_lastTurn = ownTime();
    std::chrono::nanoseconds m_longest{0};
};
