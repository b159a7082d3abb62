#pragma once

#include <QCoroTask>
#include <QStringList>

/// Snapshots of one virtual machine's state.
class VMSnapshotManaging
{
public:
    VMSnapshotManaging() = default;
    VMSnapshotManaging(const VMSnapshotManaging &) = delete;
    VMSnapshotManaging &operator=(const VMSnapshotManaging &) = delete;
    virtual ~VMSnapshotManaging() = default;

    [[nodiscard]] virtual QCoro::Task<> createSnapshot(QString name) = 0;
    [[nodiscard]] virtual QCoro::Task<> restoreSnapshot(QString name) = 0;
    [[nodiscard]] virtual QCoro::Task<> deleteSnapshot(QString name) = 0;
    [[nodiscard]] virtual QCoro::Task<QStringList> listSnapshots() = 0;
};

/// Neither backend can take snapshots: every operation fails with KelvoError::internalError.
class SnapshotManager final : public VMSnapshotManaging
{
public:
    [[nodiscard]] QCoro::Task<> createSnapshot(QString name) override;
    [[nodiscard]] QCoro::Task<> restoreSnapshot(QString name) override;
    [[nodiscard]] QCoro::Task<> deleteSnapshot(QString name) override;
    [[nodiscard]] QCoro::Task<QStringList> listSnapshots() override;
};
