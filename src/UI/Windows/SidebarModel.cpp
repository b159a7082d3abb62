#include "UI/Windows/SidebarModel.h"

#include "App/State/LocalizedName.h"

int SidebarModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(allSidebarSections.size());
}

QVariant SidebarModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const SidebarSection section = allSidebarSections.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case SectionRole:
        return QVariant::fromValue(section);
    case TitleRole:
    case Qt::DisplayRole:
        return localizedName(section);
    case SymbolRole:
        return symbol(section);
    default:
        return {};
    }
}

QHash<int, QByteArray> SidebarModel::roleNames() const
{
    return {{SectionRole, "section"}, {TitleRole, "title"}, {SymbolRole, "symbol"}};
}
