#pragma once

#include "UI/Components/LabeledValue.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

class VMManager;

/// What the application's settings show: the host, the recommended machine, the QEMU tools and the diagnostic
/// log.
class AppInfo : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_MOC_INCLUDE("Virtualization/VMManager.h")
    Q_PROPERTY(VMManager *manager READ manager WRITE setManager NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> capabilities READ capabilities NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> recommendation READ recommendation NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> qemuStatus READ qemuStatus NOTIFY changed)
    Q_PROPERTY(QString installHint READ installHint NOTIFY changed)
    Q_PROPERTY(QString defaultLocation READ defaultLocation CONSTANT)
    Q_PROPERTY(QString diagnostics READ diagnostics NOTIFY changed)

public:
    static constexpr QLatin1StringView installCommand{"brew install qemu swtpm"};

    [[nodiscard]] VMManager *manager() const { return m_manager; }
    void setManager(VMManager *manager);

    [[nodiscard]] QList<LabeledValue> capabilities() const;
    [[nodiscard]] QList<LabeledValue> recommendation() const;
    [[nodiscard]] QList<LabeledValue> qemuStatus() const { return m_qemuStatus; }
    /// Empty when the tools are there.
    [[nodiscard]] QString installHint() const { return m_installHint; }
    [[nodiscard]] QString defaultLocation() const;
    [[nodiscard]] QString diagnostics() const;

    /// Looks for the QEMU tools and reads the log anew.
    Q_INVOKABLE void refresh();
    Q_INVOKABLE void copyInstallCommand() const;
    Q_INVOKABLE void copyDiagnostics() const;

Q_SIGNALS:
    void changed();

private:
    QPointer<VMManager> m_manager;
    QList<LabeledValue> m_qemuStatus;
    QString m_installHint;
};
