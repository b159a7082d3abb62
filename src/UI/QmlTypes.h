#pragma once

#include "App/AppState.h"
#include "App/DetailContent.h"
#include "App/VMCommand.h"
#include "App/VMListModel.h"
#include "Models/VirtualMachine.h"
#include "Virtualization/VMManager.h"

#include <QAbstractListModel>
#include <QQmlEngine>

// How the views see the types of the folders below, which know nothing of QML.

struct AppStateForeign
{
    Q_GADGET
    QML_FOREIGN(AppState)
    QML_NAMED_ELEMENT(AppState)
    QML_SINGLETON

public:
    /// The one state that every view uses; set before the first engine is made, it outlives them all.
    static inline AppState *instance = nullptr;

    [[nodiscard]] static AppState *create(QQmlEngine *engine, QJSEngine *jsEngine);
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

struct VMListModelForeign
{
    Q_GADGET
    QML_FOREIGN(VMListModel)
    QML_NAMED_ELEMENT(VMListModel)
};

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

namespace VMCommandForeign {
Q_NAMESPACE
QML_NAMED_ELEMENT(VMCommand)
QML_FOREIGN_NAMESPACE(VMCommandEnum)
} // namespace VMCommandForeign

namespace DetailContentForeign {
Q_NAMESPACE
QML_NAMED_ELEMENT(DetailContent)
QML_FOREIGN_NAMESPACE(DetailContentEnum)
} // namespace DetailContentForeign

namespace SidebarSectionForeign {
Q_NAMESPACE
QML_NAMED_ELEMENT(SidebarSection)
QML_FOREIGN_NAMESPACE(SidebarSectionEnum)
} // namespace SidebarSectionForeign
