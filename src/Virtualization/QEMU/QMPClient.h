#pragma once

#include "Platform/Emulator/QMPChannel.h"

#include <QUrl>

struct QMPTimeouts
{
    std::chrono::milliseconds socketFile = std::chrono::seconds(5);
    std::chrono::milliseconds exchange = std::chrono::seconds(5); ///< for connecting and for each answer
};

/// Sends commands to one QEMU, each in a conversation of its own. A value; may be destroyed while a task
/// runs. Failures are KelvoError::internalError. Main thread.
class QMPClient
{
public:
    explicit QMPClient(const QUrl &socketPath, const QMPTimeouts &timeouts = {});

    [[nodiscard]] const QUrl &socketPath() const { return m_socketPath; }

    /// Waits until the socket's file exists, then sends and waits for the answer.
    [[nodiscard]] QCoro::Task<> send(const QString &command, const QJsonObject &arguments = {}) const;
    [[nodiscard]] QCoro::Task<> quit() const;
    [[nodiscard]] QCoro::Task<> pause() const;
    [[nodiscard]] QCoro::Task<> resume() const;
    /// Presses the guest's power button.
    [[nodiscard]] QCoro::Task<> powerDown() const;
    /// As if the cable of the guest's network device were pulled out.
    [[nodiscard]] QCoro::Task<> disconnectNetwork(const QString &networkDevice) const;

private:
    [[nodiscard]] static QCoro::Task<> exchange(QString path, QString command, QJsonObject arguments,
                                                QMPTimeouts timeouts);
    [[nodiscard]] static QCoro::Task<> waitForSocket(QString path, std::chrono::milliseconds timeout);

    QUrl m_socketPath;
    QMPTimeouts m_timeouts;
};
