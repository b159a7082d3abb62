#pragma once

#include "Platform/Emulator/EmulatorStatus.h"

#include <QTimer>

/// Asks an emulator again and again what its guest does, which others may pause and resume as well. An
/// emulator that does not answer is asked again. Main thread.
class EmulatorPoll : public QObject
{
    Q_OBJECT

public:
    static constexpr std::chrono::milliseconds defaultInterval = std::chrono::seconds(1);

    /// Asks nothing yet. `timeout`: of each conversation.
    EmulatorPoll(const QString &controlSocket, std::chrono::milliseconds interval,
                 std::chrono::milliseconds timeout);

    /// The next question comes an interval from now; the answer to an earlier one is not told any more.
    void restart();
    void stop();

Q_SIGNALS:
    void answered(const EmulatorStatus &status);

private:
    [[nodiscard]] QCoro::Task<> question();

    QString m_controlSocket;
    std::chrono::milliseconds m_timeout;
    QTimer m_timer;
    quint64 m_round = 0;
};
