#pragma once

#include <QObject>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

#include <algorithm>
#include <iterator>

/// What can be chosen for a machine, as views show it: the texts of lists of values, in the order of these.
class VMChoices : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON
    Q_PROPERTY(QList<QString> guests READ guests CONSTANT)
    Q_PROPERTY(QList<QString> guestBackends READ guestBackends CONSTANT)
    Q_PROPERTY(QList<QString> mediaTypes READ mediaTypes CONSTANT)
    Q_PROPERTY(QList<QString> memorySizes READ memorySizes CONSTANT)
    Q_PROPERTY(QList<QString> diskSizes READ diskSizes CONSTANT)
    Q_PROPERTY(QList<QString> networks READ networks CONSTANT)

public:
    [[nodiscard]] QStringList guests() const;
    [[nodiscard]] QStringList guestBackends() const;
    [[nodiscard]] QStringList mediaTypes() const;
    [[nodiscard]] QStringList memorySizes() const;
    [[nodiscard]] QStringList diskSizes() const;
    [[nodiscard]] QStringList networks() const;

    [[nodiscard]] static QString sizeText(quint64 bytes);

    /// −1 for a value that is not in the list.
    template<typename List, typename Value>
    [[nodiscard]] static int indexIn(const List &list, const Value &value)
    {
        const auto found = std::ranges::find(list, value);
        return found == std::end(list) ? -1 : static_cast<int>(found - std::begin(list));
    }
    /// Nothing for an index beside the list.
    template<typename Value, typename List>
    static void choose(Value &value, const List &list, int index)
    {
        if (index >= 0 && index < static_cast<int>(std::size(list)))
            value = *(std::begin(list) + index);
    }
};
