#include "Platform/Emulator/EmulatorStatus.h"

#include <QCoroFuture>
#include <QJsonArray>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// `devices`: what query-block returns.
QString diskFailure(const QJsonArray &devices)
{
    const bool isFull = std::ranges::any_of(
        devices, [](const QJsonValue &device) { return device["io-status"_L1] == "nospace"_L1; });
    return isFull ? u"The host has no space left for the virtual disk. Make room, then resume."_s
                  : u"The host failed to read or write the virtual disk."_s;
}

} // namespace

QCoro::Task<EmulatorStatus> EmulatorStatus::ask(std::shared_ptr<QMPChannel> channel)
{
    const QFuture<QJsonValue> asked = channel->execute(u"query-status"_s);
    const QJsonValue answer = co_await asked;
    const QString state = answer["status"_L1].toString();
    if (state == "running"_L1 || state == "suspended"_L1) // by the guest itself, until a key wakes it
        co_return EmulatorStatus{Guest::running, {}};
    if (state == "prelaunch"_L1 || state == "inmigrate"_L1)
        co_return EmulatorStatus{Guest::starting, {}};
    if (state == "internal-error"_L1)
        co_return EmulatorStatus{Guest::failed, u"The host cannot run the guest any further."_s};
    EmulatorStatus status{Guest::paused, {}};
    if (state == "io-error"_L1) {
        const QFuture<QJsonValue> disks = channel->execute(u"query-block"_s);
        const QJsonValue devices = co_await disks;
        status.reason = diskFailure(devices.toArray());
    }
    co_return status;
}
