#pragma once

#include "App/State/AppState.h"
#include "Models/VMConfiguration.h"
#include "Models/VMConfigurationValidator.h"
#include "UI/Components/LabeledValue.h"
#include "UI/Components/VMChoices.h"

#include <QObject>
#include <QPointer>
#include <QtQml/qqmlregistration.h>

/// The editing fields of one machine's settings, what may be edited and saved, and what is only shown. The
/// fields are loaded once, when both the machine and the application's state are known; what changes
/// elsewhere later does not overwrite them.
class VMSettingsModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(VirtualMachine *vm READ vm WRITE setVM NOTIFY changed)
    Q_PROPERTY(AppState *appState READ appState WRITE setAppState NOTIFY changed)
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY changed)
    Q_PROPERTY(QString guestName READ guestName NOTIFY changed)
    Q_PROPERTY(int cpuCount READ cpuCount WRITE setCPUCount NOTIFY changed)
    Q_PROPERTY(int minimumCPUCount READ minimumCPUCount NOTIFY changed)
    Q_PROPERTY(int maximumCPUCount READ maximumCPUCount NOTIFY changed)
    Q_PROPERTY(QString memoryLabel READ memoryLabel NOTIFY changed)
    /// −1 while the memory is none of the offered sizes.
    Q_PROPERTY(int memoryIndex READ memoryIndex WRITE setMemoryIndex NOTIFY changed)
    Q_PROPERTY(int networkIndex READ networkIndex WRITE setNetworkIndex NOTIFY changed)
    Q_PROPERTY(int displayWidth READ displayWidth WRITE setDisplayWidth NOTIFY changed)
    Q_PROPERTY(int displayHeight READ displayHeight WRITE setDisplayHeight NOTIFY changed)
    Q_PROPERTY(int minimumDisplayWidth MEMBER minimumDisplayWidth CONSTANT)
    Q_PROPERTY(int maximumDisplayWidth MEMBER maximumDisplayWidth CONSTANT)
    Q_PROPERTY(int minimumDisplayHeight MEMBER minimumDisplayHeight CONSTANT)
    Q_PROPERTY(int maximumDisplayHeight MEMBER maximumDisplayHeight CONSTANT)
    Q_PROPERTY(double displayScaling READ displayScaling WRITE setDisplayScaling NOTIFY changed)
    Q_PROPERTY(bool offersDisplayDriver READ offersDisplayDriver NOTIFY changed)
    Q_PROPERTY(bool hasDisplayDriver READ hasDisplayDriver WRITE setHasDisplayDriver NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> storage READ storage NOTIFY changed)
    Q_PROPERTY(QString recentLog READ recentLog NOTIFY changed)
    Q_PROPERTY(bool isRunning READ isRunning NOTIFY changed)
    Q_PROPERTY(bool canSave READ canSave NOTIFY changed)
    Q_PROPERTY(QString problem READ problem NOTIFY changed)
    Q_PROPERTY(QString saveMessage READ saveMessage NOTIFY changed)

public:
    static constexpr int minimumDisplayWidth = 800;
    static constexpr int maximumDisplayWidth = 7680;
    static constexpr int minimumDisplayHeight = 600;
    static constexpr int maximumDisplayHeight = 4320;
    static constexpr double minimumDisplayScaling = 0.5;
    static constexpr double maximumDisplayScaling = 2.0;

    explicit VMSettingsModel(QObject *parent = nullptr);

    [[nodiscard]] VirtualMachine *vm() const { return m_vm; }
    void setVM(VirtualMachine *vm);
    [[nodiscard]] AppState *appState() const { return m_appState; }
    void setAppState(AppState *appState);

    [[nodiscard]] QString name() const { return m_name; }
    void setName(const QString &name);
    [[nodiscard]] QString guestName() const;
    // The setters of numbers take the range's nearest end for what is outside of it.
    [[nodiscard]] int cpuCount() const { return asInt(m_cpuCount); }
    void setCPUCount(int count);
    [[nodiscard]] int minimumCPUCount() const { return asInt(cpuCountRange().minimum); }
    [[nodiscard]] int maximumCPUCount() const { return asInt(cpuCountRange().maximum); }
    [[nodiscard]] QString memoryLabel() const { return VMChoices::sizeText(m_memoryBytes); }
    [[nodiscard]] int memoryIndex() const
    {
        return VMChoices::indexIn(VMConfiguration::memoryOptions(), m_memoryBytes);
    }
    void setMemoryIndex(int index) { choose(m_memoryBytes, VMConfiguration::memoryOptions(), index); }
    [[nodiscard]] int networkIndex() const { return VMChoices::indexIn(allVMNetworkModes, m_networkMode); }
    void setNetworkIndex(int index) { choose(m_networkMode, allVMNetworkModes, index); }
    [[nodiscard]] int displayWidth() const { return asInt(m_displayWidth); }
    void setDisplayWidth(int pixels);
    [[nodiscard]] int displayHeight() const { return asInt(m_displayHeight); }
    void setDisplayHeight(int pixels);
    [[nodiscard]] double displayScaling() const { return m_displayScaling; }
    void setDisplayScaling(double scaling);
    /// The machine has a display for either case.
    [[nodiscard]] bool offersDisplayDriver() const;
    /// The guest has a driver for a virtio display, see displayDriverMark.
    [[nodiscard]] bool hasDisplayDriver() const { return m_hasDisplayDriver; }
    void setHasDisplayDriver(bool hasDriver);

    [[nodiscard]] QList<LabeledValue> storage() const;
    /// The last three lines of the diagnostic log.
    [[nodiscard]] QString recentLog() const;

    /// Nothing but the disk's usage can be changed now.
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] bool canSave() const { return m_vm && !isRunning() && problem().isEmpty(); }
    /// Why a machine of these settings could not start; empty when it could.
    [[nodiscard]] QString problem() const;
    /// Empty until a save succeeded.
    [[nodiscard]] QString saveMessage() const { return m_saveMessage; }

    /// A failure becomes the application's error message, and the machine keeps the edited values.
    Q_INVOKABLE void saveChanges();
    Q_INVOKABLE void refreshDiskUsage();

Q_SIGNALS:
    void changed();

private:
    /// What QML has for numbers; a stored one may be larger.
    [[nodiscard]] static int asInt(qint64 number);
    template<typename Value>
    void set(Value &member, const Value &value)
    {
        if (member == value)
            return;
        member = value;
        Q_EMIT changed();
    }
    template<typename Value, typename List>
    void choose(Value &member, const List &list, int index)
    {
        set(member, VMChoices::at(list, index, member));
    }
    void loadFromVM();
    [[nodiscard]] ClosedRange<qint64> cpuCountRange() const;
    [[nodiscard]] VMConfiguration edited() const;
    [[nodiscard]] QString displayDriverMarkPath() const;
    void saveDisplayDriver() const;

    QPointer<VirtualMachine> m_vm;
    QPointer<AppState> m_appState;
    QString m_name;
    qint64 m_cpuCount = 4;
    quint64 m_memoryBytes = quint64(8) << 30;
    VMNetworkMode m_networkMode = VMNetworkMode::nat;
    qint64 m_displayWidth = 1920;
    qint64 m_displayHeight = 1080;
    double m_displayScaling = 1.0;
    bool m_hasDisplayDriver = false;
    QString m_saveMessage;
};
