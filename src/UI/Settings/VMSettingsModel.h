#pragma once

#include "App/State/AppState.h"
#include "Models/VMConfigurationValidator.h"
#include "UI/Components/LabeledValue.h"
#include "UI/Components/VMDraft.h"
#include "UI/Components/VMFollower.h"

/// What is edited of one machine's settings, what may be edited and saved, and what is only shown. The
/// draft is loaded once, when both the machine and the application's state are known; what changes
/// elsewhere later does not overwrite it.
class VMSettingsModel : public VMFollower
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(AppState *appState READ appState WRITE setAppState NOTIFY changed)
    Q_PROPERTY(VMDraft draft READ draft WRITE setDraft NOTIFY changed)
    Q_PROPERTY(QString guestName READ guestName NOTIFY changed)
    Q_PROPERTY(int minimumCPUCount READ minimumCPUCount NOTIFY changed)
    Q_PROPERTY(int maximumCPUCount READ maximumCPUCount NOTIFY changed)
    Q_PROPERTY(int minimumDisplayWidth MEMBER minimumDisplayWidth CONSTANT)
    Q_PROPERTY(int maximumDisplayWidth MEMBER maximumDisplayWidth CONSTANT)
    Q_PROPERTY(int minimumDisplayHeight MEMBER minimumDisplayHeight CONSTANT)
    Q_PROPERTY(int maximumDisplayHeight MEMBER maximumDisplayHeight CONSTANT)
    Q_PROPERTY(double minimumDisplayScaling MEMBER minimumDisplayScaling CONSTANT)
    Q_PROPERTY(double maximumDisplayScaling MEMBER maximumDisplayScaling CONSTANT)
    Q_PROPERTY(bool offersDisplayDriver READ offersDisplayDriver NOTIFY changed)
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

    [[nodiscard]] AppState *appState() const { return m_appState; }
    void setAppState(AppState *appState);

    [[nodiscard]] const VMDraft &draft() const { return m_draft; }
    void setDraft(const VMDraft &draft);
    [[nodiscard]] QString guestName() const;
    [[nodiscard]] int minimumCPUCount() const { return asInt(cpuCountRange().minimum); }
    [[nodiscard]] int maximumCPUCount() const { return asInt(cpuCountRange().maximum); }
    /// The machine has a display for a guest with a driver and for one without.
    [[nodiscard]] bool offersDisplayDriver() const;

    [[nodiscard]] QList<LabeledValue> storage() const;
    /// The last three lines of the diagnostic log.
    [[nodiscard]] QString recentLog() const;

    /// Nothing but the disk's usage can be changed now.
    [[nodiscard]] bool isRunning() const;
    [[nodiscard]] bool canSave() const { return vm() && !isRunning() && problem().isEmpty(); }
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
    void begin() override;
    void update() override { Q_EMIT changed(); }
    [[nodiscard]] ClosedRange<qint64> cpuCountRange() const;
    [[nodiscard]] VMConfiguration edited() const;
    [[nodiscard]] QString displayDriverMarkPath() const;
    void saveDisplayDriver() const;

    QPointer<AppState> m_appState;
    VMDraft m_draft;
    QString m_saveMessage;
};
