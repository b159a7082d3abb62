#include "Platform/Emulator/RunningEmulator.h"

#include "Platform/Emulator/QMPError.h"

#include <QFile>

using namespace Qt::StringLiterals;

QCoro::Task<std::optional<RunningEmulator>> RunningEmulator::find(QString controlSocket,
                                                                  std::chrono::milliseconds timeout)
{
    std::shared_ptr<QMPChannel> channel;
    try {
        const QCoro::Task<std::shared_ptr<QMPChannel>> opened = QMPChannel::open(controlSocket, timeout);
        channel = co_await opened;
    } catch (const QMPError &error) {
        if (error.errorCase() != QMPError::Case::unreachable)
            throw;
        co_return std::nullopt; // a socket that was left behind
    }
    RunningEmulator emulator{channel->peer(), channel};
    if (!emulator.peer.isOurUser || !emulator.peer.runsProgram(u"qemu-system-aarch64"))
        co_return std::nullopt;
    co_return std::optional(std::move(emulator));
}

bool RunningEmulator::hasLauncher() const
{
    QFile file(u"/proc/%1/stat"_s.arg(peer.identifier));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray fields = file.readAll();
    // The parent is the second one after the name, which is in parentheses (proc(5)).
    const QByteArray parent = fields.sliced(fields.lastIndexOf(')') + 1).simplified().split(' ').value(1);
    return QFile::symLinkTarget(u"/proc/%1/exe"_s.arg(QLatin1StringView(parent))) ==
           QFile::symLinkTarget(u"/proc/self/exe"_s);
}

std::shared_ptr<ChildProcess> RunningEmulator::takeProcess()
{
    return std::make_shared<ChildProcess>(std::move(peer.process), peer.identifier);
}
