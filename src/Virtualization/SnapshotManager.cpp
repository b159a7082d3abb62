#include "Virtualization/SnapshotManager.h"

#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

static KelvoError unsupported()
{
    return KelvoError::internalError(u"Snapshots are not supported."_s);
}

QCoro::Task<> SnapshotManager::createSnapshot(QString)
{
    throw unsupported();
    co_return;
}

QCoro::Task<> SnapshotManager::restoreSnapshot(QString)
{
    throw unsupported();
    co_return;
}

QCoro::Task<> SnapshotManager::deleteSnapshot(QString)
{
    throw unsupported();
    co_return;
}

QCoro::Task<QStringList> SnapshotManager::listSnapshots()
{
    throw unsupported();
    co_return QStringList();
}
