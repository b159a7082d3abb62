#pragma once

#include "UI/LabeledValue.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class VMManager;
class VirtualMachine;

/// What the settings of one machine show.
class VMInfo : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_MOC_INCLUDE("Models/VirtualMachine.h")
    Q_MOC_INCLUDE("Virtualization/VMManager.h")
    Q_PROPERTY(VirtualMachine *vm READ vm WRITE setVM NOTIFY changed)
    Q_PROPERTY(VMManager *manager READ manager WRITE setManager NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> general READ general NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> hardware READ hardware NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> storage READ storage NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> display READ display NOTIFY changed)
    Q_PROPERTY(QString recentLog READ recentLog NOTIFY changed)

public:
    [[nodiscard]] VirtualMachine *vm() const { return m_vm; }
    void setVM(VirtualMachine *vm);
    [[nodiscard]] VMManager *manager() const { return m_manager; }
    void setManager(VMManager *manager);

    [[nodiscard]] QList<LabeledValue> general() const;
    [[nodiscard]] QList<LabeledValue> hardware() const;
    [[nodiscard]] QList<LabeledValue> storage() const;
    [[nodiscard]] QList<LabeledValue> display() const;
    /// The last three lines of the diagnostic log.
    [[nodiscard]] QString recentLog() const;

    Q_INVOKABLE void refreshDiskUsage();

Q_SIGNALS:
    void changed();

private:
    QPointer<VirtualMachine> m_vm;
    QPointer<VMManager> m_manager;
};
