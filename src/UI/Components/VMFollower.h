#pragma once

#include "Models/VirtualMachine.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

/// Shows something of one machine, and follows what becomes of it. Main thread.
class VMFollower : public QObject
{
    Q_OBJECT
    QML_ANONYMOUS
    Q_PROPERTY(VirtualMachine *vm READ vm WRITE setVM NOTIFY vmChanged)

public:
    [[nodiscard]] VirtualMachine *vm() const { return m_vm; }
    void setVM(VirtualMachine *vm)
    {
        if (m_vm == vm)
            return;
        if (m_vm)
            m_vm->disconnect(this);
        m_vm = vm;
        if (m_vm) {
            connect(m_vm, &VirtualMachine::changed, this, [this] { update(); });
            connect(m_vm, &QObject::destroyed, this, [this] { update(); });
        }
        Q_EMIT vmChanged();
        begin();
    }

Q_SIGNALS:
    void vmChanged();

protected:
    using QObject::QObject;

    /// It is another machine, or none.
    virtual void begin() { update(); }
    /// Something of the machine has changed, or it is gone.
    virtual void update() = 0;

private:
    QPointer<VirtualMachine> m_vm;
};
