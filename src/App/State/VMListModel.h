#pragma once

#include <QAbstractListModel>
#include <QPointer>
#include <QUuid>
#include <QtQml/qqmlregistration.h>

class AppState;
class VirtualMachine;

/// The machines that the main window lists, one row each, keyed by identifier. It follows the list of its
/// source with inserts, removals, moves and data changes; it is never reset. What changes of a machine is
/// told by the machine itself.
class VMListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_MOC_INCLUDE("App/State/AppState.h")
    Q_MOC_INCLUDE("Models/VirtualMachine.h")
    Q_PROPERTY(AppState *source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    enum Role
    {
        MachineRole = Qt::UserRole + 1
    };

    explicit VMListModel(QObject *parent = nullptr);

    [[nodiscard]] AppState *source() const { return m_source; }
    void setSource(AppState *source);

    [[nodiscard]] int count() const { return static_cast<int>(m_rows.size()); }
    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;

    /// −1 when the machine is not listed.
    Q_INVOKABLE [[nodiscard]] int rowOf(VirtualMachine *vm) const;
    /// Null for a row outside the list.
    Q_INVOKABLE [[nodiscard]] VirtualMachine *machineAt(int row) const;

Q_SIGNALS:
    void sourceChanged();
    void countChanged();

private:
    /// A bundle folder copied by hand carries the identifier of its original; both are listed.
    struct Key
    {
        QUuid id;
        int occurrence = 0;

        bool operator==(const Key &) const = default;
        friend size_t qHash(const Key &key, size_t seed = 0)
        {
            return qHashMulti(seed, key.id, key.occurrence);
        }
    };
    struct Row
    {
        Key key;
        VirtualMachine *vm = nullptr; ///< the source tells before it goes
    };

    [[nodiscard]] static QList<Row> rowsFor(const QList<VirtualMachine *> &machines);
    void follow(const QList<Row> &wanted);
    void removeUnlisted(const QList<Row> &wanted);
    void insertRun(int row, const QList<Row> &run);
    void replace(int row, VirtualMachine *vm);

    QPointer<AppState> m_source;
    QList<Row> m_rows;
};
