#include "App/State/VMListModel.h"

#include "App/State/AppState.h"

#include <QHash>
#include <QSet>

#include <algorithm>

VMListModel::VMListModel(QObject *parent)
    : QAbstractListModel(parent)
{
    connect(this, &QAbstractItemModel::rowsInserted, this, &VMListModel::countChanged);
    connect(this, &QAbstractItemModel::rowsRemoved, this, &VMListModel::countChanged);
}

void VMListModel::setSource(AppState *source)
{
    if (m_source == source)
        return;
    if (m_source)
        m_source->disconnect(this);
    m_source = source;
    if (m_source) {
        connect(m_source, &AppState::filteredVirtualMachinesChanged, this,
                [this] { follow(rowsFor(m_source->filteredVirtualMachines())); });
        connect(m_source, &QObject::destroyed, this, [this] { follow({}); });
    }
    follow(rowsFor(m_source ? m_source->filteredVirtualMachines() : QList<VirtualMachine *>()));
    Q_EMIT sourceChanged();
}

int VMListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : count();
}

QVariant VMListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    VirtualMachine *vm = m_rows.at(index.row()).vm;
    return role == MachineRole ? QVariant::fromValue(vm) : QVariant();
}

QHash<int, QByteArray> VMListModel::roleNames() const
{
    return {{MachineRole, "vm"}};
}

int VMListModel::rowOf(VirtualMachine *vm) const
{
    const auto found = std::ranges::find_if(m_rows, [vm](const Row &row) { return vm && row.vm == vm; });
    return found == m_rows.end() ? -1 : static_cast<int>(found - m_rows.begin());
}

VirtualMachine *VMListModel::machineAt(int row) const
{
    return row >= 0 && row < count() ? m_rows.at(row).vm : nullptr;
}

QList<VMListModel::Row> VMListModel::rowsFor(const QList<VirtualMachine *> &machines)
{
    QHash<QUuid, int> occurrences;
    QList<Row> rows;
    rows.reserve(machines.size());
    for (VirtualMachine *vm : machines)
        rows.append({.key = {.id = vm->id(), .occurrence = occurrences[vm->id()]++}, .vm = vm});
    return rows;
}

void VMListModel::follow(const QList<Row> &wanted)
{
    removeUnlisted(wanted);
    QSet<Key> listed;
    for (const Row &row : std::as_const(m_rows))
        listed.insert(row.key);

    for (int row = 0; row < wanted.size(); ++row) {
        const Row &next = wanted.at(row);
        if (!listed.contains(next.key)) {
            qsizetype end = row;
            while (end < wanted.size() && !listed.contains(wanted.at(end).key))
                ++end;
            insertRun(row, wanted.mid(row, end - row));
            row = static_cast<int>(end) - 1;
            continue;
        }
        if (m_rows.at(row).key != next.key) {
            const auto found = std::ranges::find(m_rows.cbegin() + row, m_rows.cend(), next.key, &Row::key);
            const auto from = static_cast<int>(found - m_rows.cbegin());
            beginMoveRows({}, from, from, {}, row);
            m_rows.move(from, row);
            endMoveRows();
        }
        replace(row, next.vm);
    }
}

void VMListModel::removeUnlisted(const QList<Row> &wanted)
{
    QSet<Key> wantedKeys;
    for (const Row &row : wanted)
        wantedKeys.insert(row.key);

    for (int last = count() - 1; last >= 0; --last) {
        if (wantedKeys.contains(m_rows.at(last).key))
            continue;
        int first = last;
        while (first > 0 && !wantedKeys.contains(m_rows.at(first - 1).key))
            --first;
        beginRemoveRows({}, first, last);
        m_rows.remove(first, last - first + 1);
        endRemoveRows();
        last = first;
    }
}

void VMListModel::insertRun(int row, const QList<Row> &run)
{
    beginInsertRows({}, row, row + static_cast<int>(run.size()) - 1);
    m_rows.reserve(m_rows.size() + run.size());
    m_rows.insert(row, run.size(), Row());
    std::ranges::copy(run, m_rows.begin() + row);
    endInsertRows();
}

void VMListModel::replace(int row, VirtualMachine *vm)
{
    if (m_rows.at(row).vm == vm)
        return;
    m_rows[row].vm = vm;
    Q_EMIT dataChanged(index(row), index(row));
}
