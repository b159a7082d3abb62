#pragma once

#include "App/State/AppState.h"
#include "Models/VMConfigurationValidator.h"
#include "UI/Components/LabeledValue.h"
#include "UI/Components/VMDraft.h"

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
    Q_PROPERTY(VMDraft draft READ draft WRITE setDraft NOTIFY changed)
    Q_PROPERTY(QList<QString> imagePatterns READ imagePatterns CONSTANT)
    Q_PROPERTY(QUrl startFolder READ startFolder NOTIFY changed)
    Q_PROPERTY(bool offersISO READ offersISO NOTIFY changed)
    Q_PROPERTY(bool offersDrivers READ offersDrivers NOTIFY changed)
    Q_PROPERTY(QString isoName READ isoName NOTIFY changed)
    Q_PROPERTY(QString driversName READ driversName NOTIFY changed)
    Q_PROPERTY(bool hasDrivers READ hasDrivers NOTIFY changed)
    Q_PROPERTY(int minimumCPUCount READ minimumCPUCount NOTIFY appStateChanged)
    Q_PROPERTY(int maximumCPUCount READ maximumCPUCount NOTIFY appStateChanged)
    Q_PROPERTY(QString hardwareHint READ hardwareHint NOTIFY changed)
    Q_PROPERTY(QString storageLocationPath READ storageLocationPath NOTIFY changed)
    Q_PROPERTY(QList<LabeledValue> summaryRows READ summaryRows NOTIFY changed)
    Q_PROPERTY(QString summaryHint READ summaryHint NOTIFY stepChanged)
    Q_PROPERTY(bool offersInstallation READ offersInstallation NOTIFY changed)
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

    [[nodiscard]] const VMDraft &draft() const { return m_draft; }
    /// A new guest brings its own default name, over one that was typed.
    void setDraft(const VMDraft &draft);
    /// File names that a picker shows at first; every other file may be chosen too.
    [[nodiscard]] QStringList imagePatterns() const;
    /// Where a picker for an image begins: beside the last image, else where downloads go.
    [[nodiscard]] QUrl startFolder() const;
    [[nodiscard]] bool offersISO() const { return m_draft.mediaType == InstallationMediaType::iso; }
    [[nodiscard]] bool offersDrivers() const;
    [[nodiscard]] QString isoName() const;
    [[nodiscard]] QString driversName() const;
    [[nodiscard]] bool hasDrivers() const { return m_draft.drivers.isValid(); }
    [[nodiscard]] int minimumCPUCount() const { return static_cast<int>(cpuCountRange().minimum); }
    [[nodiscard]] int maximumCPUCount() const { return static_cast<int>(cpuCountRange().maximum); }
    /// What this host cannot do of what is chosen; empty when it can do all of it.
    [[nodiscard]] QString hardwareHint() const;
    [[nodiscard]] QString storageLocationPath() const;
    [[nodiscard]] QList<LabeledValue> summaryRows() const;
    [[nodiscard]] QString summaryHint() const;
    [[nodiscard]] bool offersInstallation() const { return m_draft.iso.isValid(); }

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
    [[nodiscard]] ClosedRange<qint64> cpuCountRange() const;
    [[nodiscard]] VMConfiguration configuration() const;
    [[nodiscard]] QUrl bundleURL() const;
    void takeProposedImage();
    void setStep(int step);
    void fitHardwareToHost();
    void setCreating(bool creating);

    QPointer<AppState> m_appState;
    int m_step = 0;
    VMDraft m_draft;
    bool m_isCreating = false;
    QString m_errorMessage;
};
