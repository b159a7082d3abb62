#pragma once

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

/// One row per section of the sidebar.
class SidebarModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT

public:
    enum Role
    {
        SectionRole = Qt::UserRole + 1,
        TitleRole,
        SymbolRole
    };

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    [[nodiscard]] QHash<int, QByteArray> roleNames() const override;
};
