#pragma once

#include "Models/VirtualMachine.h"
#include "Virtualization/VMManager.h"

#include <QAbstractListModel>
#include <QtQml/qqmlregistration.h>

// How the views see the types of the folders below, which know nothing of QML.

struct VirtualMachineForeign
{
    Q_GADGET
    QML_FOREIGN(VirtualMachine)
    QML_NAMED_ELEMENT(VirtualMachine)
    QML_UNCREATABLE("The manager makes them")
};

struct VMManagerForeign
{
    Q_GADGET
    QML_FOREIGN(VMManager)
    QML_NAMED_ELEMENT(VMManager)
    QML_UNCREATABLE("AppState has it")
};

// The toolkit's own description of its modules leaves these two bases out.
struct AbstractItemModelForeign
{
    Q_GADGET
    QML_FOREIGN(QAbstractItemModel)
    QML_ANONYMOUS
};

struct AbstractListModelForeign
{
    Q_GADGET
    QML_FOREIGN(QAbstractListModel)
    QML_ANONYMOUS
};
