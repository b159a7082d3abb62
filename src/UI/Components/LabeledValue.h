#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QtQml/qqmlregistration.h>

/// One row of a form that is only read.
struct LabeledValue
{
    Q_GADGET
    QML_VALUE_TYPE(labeledValue)
    Q_PROPERTY(QString label MEMBER label)
    Q_PROPERTY(QString value MEMBER value)

public:
    QString label;
    QString value;

    bool operator==(const LabeledValue &) const = default;
};
