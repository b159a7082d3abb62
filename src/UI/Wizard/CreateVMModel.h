#pragma once

#include "App/State/AppState.h"
#include "Models/VMConfiguration.h"
#include "UI/Components/LabeledValue.h"
#include "UI/Components/VMChoices.h"

#include <QCoroTask>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QtQml/qqmlregistration.h>

/// The wizard for a new machine: its five steps, what is chosen on them, and the creation itself. One object
/// for one presentation of the sheet. Main thread.
class CreateVMModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState *appState READ appState WRITE setAppState NOTIFY appStateChanged)
    Q_PROPERTY(int step READ step NOTIFY stepChanged)
    Q_PROPERTY(int stepCount READ stepCount CONSTANT)
    Q_PROPERTY(bool isLastStep READ isLastStep NOTIFY stepChanged)
    Q_PROPERTY(bool canContinue READ canContinue NOTIFY changed)
    Q_PROPERTY(QString missing READ missing NOTIFY changed)
    Q_PROPERTY(int guestOSIndex READ guestOSIndex WRITE setGuestOSIndex NOTIFY changed)
    Q_PROPERTY(int mediaTypeIndex READ mediaTypeIndex WRITE setMediaTypeIndex NOTIFY changed)
    Q_PROPERTY(QList<QString> imagePatterns READ imagePatterns CONSTANT)
    Q_PROPERTY(QUrl startFolder READ startFolder NOTIFY changed)
    Q_PROPERTY(bool offersISO READ offersISO NOTIFY changed)
    Q_PROPERTY(bool offersDrivers READ offersDrivers NOTIFY changed)
    Q_PROPERTY(QUrl isoURL READ isoURL WRITE setISOURL NOTIFY changed)
    Q_PROPERTY(QString isoName READ isoName NOTIFY changed)
    Q_PROPERTY(QUrl virtioDriversURL READ virtioDriversURL WRITE setVirtioDriversURL NOTIFY changed)
    Q_PROPERTY(QString virtioDriversName READ virtioDriversName NOTIFY changed)
    Q_PROPERTY(bool hasDrivers READ hasDrivers NOTIFY changed)
    Q_PROPERTY(QString cpuText READ cpuText NOTIFY changed)
    Q_PROPERTY(int cpuCount READ cpuCount WRITE setCPUCount NOTIFY changed)
    Q_PROPERTY(int minimumCPUCount READ minimumCPUCount NOTIFY appStateChanged)
    Q_PROPERTY(int maximumCPUCount READ maximumCPUCount NOTIFY appStateChanged)
    Q_PROPERTY(int memoryIndex READ memoryIndex WRITE setMemoryIndex NOTIFY changed)
    Q_PROPERTY(int diskIndex READ diskIndex WRITE setDiskIndex NOTIFY changed)
    Q_PROPERTY(int networkIndex READ networkIndex WRITE setNetworkIndex NOTIFY changed)
    Q_PROPERTY(QString hardwareHint READ hardwareHint NOTIFY changed)
    Q_PROPERTY(QString vmName READ vmName WRITE setVMName NOTIFY changed)
    Q_PROPERTY(QUrl storageLocation READ storageLocation WRITE setStorageLocation NOTIFY changed)
    Q_PROPERTY(QString storageLocationPath READ storageLocationPath NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> summaryRows READ summaryRows NOTIFY changed)
    Q_PROPERTY(QString summaryHint READ summaryHint NOTIFY stepChanged)
    Q_PROPERTY(bool offersInstallation READ offersInstallation NOTIFY changed)
    Q_PROPERTY(bool startInstallationAfterCreate READ startInstallationAfterCreate WRITE
                   setStartInstallationAfterCreate NOTIFY changed)
    Q_PROPERTY(bool isCreating READ isCreating NOTIFY isCreatingChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage WRITE setErrorMessage NOTIFY errorMessageChanged)

public:
    explicit CreateVMModel(QObject *parent = nullptr);

    [[nodiscard]] AppState *appState() const { return m_appState; }
    /// An image that the state proposes, now or later, becomes the installation medium.
    void setAppState(AppState *appState);

    [[nodiscard]] int step() const { return m_step; }
    [[nodiscard]] int stepCount() const { return 5; }
    [[nodiscard]] bool isLastStep() const { return m_step == stepCount() - 1; }
    [[nodiscard]] bool canContinue() const { return missing().isEmpty(); }
    /// What must be done before the next step; empty when nothing is.
    [[nodiscard]] QString missing() const;
    Q_INVOKABLE void goBack();
    /// Nothing where canContinue() is false or the step is the last.
    Q_INVOKABLE void goForward();

    [[nodiscard]] int guestOSIndex() const { return VMChoices::indexIn(allGuestOperatingSystems, m_guestOS); }
    /// A new guest brings its own default name, over one that was typed.
    void setGuestOSIndex(int index);
    [[nodiscard]] int mediaTypeIndex() const
    {
        return VMChoices::indexIn(VMChoices::allMediaTypes, m_mediaType);
    }
    void setMediaTypeIndex(int index) { choose(m_mediaType, VMChoices::allMediaTypes, index); }
    /// File names that a picker shows at first; every other file may be chosen too.
    [[nodiscard]] QStringList imagePatterns() const;
    /// Where a picker for an image begins: beside the last image, else where downloads go.
    [[nodiscard]] QUrl startFolder() const;
    [[nodiscard]] bool offersISO() const { return m_mediaType == InstallationMediaType::iso; }
    [[nodiscard]] bool offersDrivers() const;
    [[nodiscard]] QUrl isoURL() const { return m_isoURL; }
    void setISOURL(const QUrl &url);
    [[nodiscard]] QString isoName() const;
    [[nodiscard]] QUrl virtioDriversURL() const { return m_virtioDriversURL; }
    void setVirtioDriversURL(const QUrl &url);
    [[nodiscard]] QString virtioDriversName() const;
    [[nodiscard]] bool hasDrivers() const { return m_virtioDriversURL.isValid(); }

    [[nodiscard]] int cpuCount() const { return m_cpuCount; }
    /// Takes the range's nearest end for what is outside of it.
    void setCPUCount(int count);
    [[nodiscard]] int minimumCPUCount() const;
    [[nodiscard]] int maximumCPUCount() const;
    [[nodiscard]] QString cpuText() const;
    [[nodiscard]] int memoryIndex() const
    {
        return VMChoices::indexIn(VMConfiguration::memoryOptions(), m_memoryBytes);
    }
    void setMemoryIndex(int index) { choose(m_memoryBytes, VMConfiguration::memoryOptions(), index); }
    [[nodiscard]] int diskIndex() const
    {
        return VMChoices::indexIn(VMConfiguration::diskOptions(), m_diskBytes);
    }
    void setDiskIndex(int index) { choose(m_diskBytes, VMConfiguration::diskOptions(), index); }
    [[nodiscard]] int networkIndex() const { return VMChoices::indexIn(allVMNetworkModes, m_networkMode); }
    void setNetworkIndex(int index) { choose(m_networkMode, allVMNetworkModes, index); }

    /// What this host cannot do of what is chosen; empty when it can do all of it.
    [[nodiscard]] QString hardwareHint() const;

    [[nodiscard]] QString vmName() const { return m_vmName; }
    void setVMName(const QString &name);
    [[nodiscard]] QUrl storageLocation() const { return m_storageLocation; }
    void setStorageLocation(const QUrl &url);
    [[nodiscard]] QString storageLocationPath() const;

    [[nodiscard]] QList<LabeledValue> summaryRows() const;
    [[nodiscard]] QString summaryHint() const;
    [[nodiscard]] bool offersInstallation() const { return m_isoURL.isValid(); }
    [[nodiscard]] bool startInstallationAfterCreate() const { return m_startInstallationAfterCreate; }
    void setStartInstallationAfterCreate(bool start);

    [[nodiscard]] bool isCreating() const { return m_isCreating; }
    /// Empty means that there is none.
    [[nodiscard]] QString errorMessage() const { return m_errorMessage; }
    void setErrorMessage(const QString &message);

    /// Makes the machine, starts its installation when that is wanted, and asks for the sheet to close. A
    /// failure becomes errorMessage(). Nothing while a creation is under way.
    Q_INVOKABLE void create();

Q_SIGNALS:
    void appStateChanged();
    void stepChanged();
    void changed();
    void isCreatingChanged();
    void errorMessageChanged();

private:
    [[nodiscard]] QCoro::Task<> createVM();
    [[nodiscard]] QCoro::Task<> createAndInstall(QPointer<AppState> state, VMConfiguration configuration,
                                                 std::optional<QUrl> installationImage);
    [[nodiscard]] VMConfiguration configuration() const;
    [[nodiscard]] QUrl bundleURL() const;
    void takeProposedImage();
    void setStep(int step);
    void fitHardwareToHost();
    void setCreating(bool creating);
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

    QPointer<AppState> m_appState;
    int m_step = 0;
    GuestOperatingSystem m_guestOS = GuestOperatingSystem::windows11ARM64;
    InstallationMediaType m_mediaType = InstallationMediaType::iso;
    QUrl m_isoURL;
    QUrl m_virtioDriversURL;
    int m_cpuCount = 4;
    quint64 m_memoryBytes;
    quint64 m_diskBytes;
    VMNetworkMode m_networkMode = VMNetworkMode::nat;
    QString m_vmName;
    QUrl m_storageLocation = VMConfiguration::defaultStorageRoot();
    bool m_startInstallationAfterCreate = true;
    bool m_isCreating = false;
    QString m_errorMessage;
};
