#pragma once

#include "UI/Components/VMFollower.h"
#include "UI/Toolkit/Style/BadgeTone.h"

/// What a card or console says of one machine, and which of its buttons are shown and enabled.
struct VMPresentation
{
    Q_GADGET
    QML_VALUE_TYPE(vmPresentation)
    Q_PROPERTY(QString name MEMBER name)
    Q_PROPERTY(QString guestName MEMBER guestName)
    Q_PROPERTY(QString architecture MEMBER architecture)
    Q_PROPERTY(QString cpuText MEMBER cpuText)
    Q_PROPERTY(QString memoryText MEMBER memoryText)
    Q_PROPERTY(QString diskText MEMBER diskText)
    Q_PROPERTY(QString hostUsageText MEMBER hostUsageText)
    Q_PROPERTY(QString errorText MEMBER errorText)
    Q_PROPERTY(QString installationText MEMBER installationText)
    Q_PROPERTY(QString backendText MEMBER backendText)
    Q_PROPERTY(QString backendSymbol MEMBER backendSymbol)
    Q_PROPERTY(QString stateText MEMBER stateText)
    Q_PROPERTY(int badgeTone MEMBER badgeTone)
    Q_PROPERTY(bool showsInstall MEMBER showsInstall)
    Q_PROPERTY(bool startEnabled MEMBER startEnabled)
    Q_PROPERTY(bool shutDownEnabled MEMBER shutDownEnabled)
    Q_PROPERTY(bool stopEnabled MEMBER stopEnabled)
    Q_PROPERTY(bool pauseEnabled MEMBER pauseEnabled)
    Q_PROPERTY(bool resumeEnabled MEMBER resumeEnabled)
    Q_PROPERTY(QString startHint MEMBER startHint)
    Q_PROPERTY(QString shutDownHint MEMBER shutDownHint)
    Q_PROPERTY(QString stopHint MEMBER stopHint)
    Q_PROPERTY(QString pauseHint MEMBER pauseHint)
    Q_PROPERTY(QString resumeHint MEMBER resumeHint)
    Q_PROPERTY(bool showsShutDown MEMBER showsShutDown)
    Q_PROPERTY(bool showsFinishInstall MEMBER showsFinishInstall)

public:
    QString name;
    QString guestName;
    QString architecture;
    QString cpuText;
    QString memoryText;
    QString diskText;
    QString hostUsageText;    ///< empty until the disk image was measured
    QString errorText;        ///< why the last operation failed or the guest ended; empty otherwise
    QString installationText; ///< empty once the installation is completed
    QString backendText;
    QString backendSymbol;
    QString stateText;
    int badgeTone = int(BadgeTone::Tone::Neutral);
    bool showsInstall = false;
    bool startEnabled = false; ///< a pending installation comes before an ordinary start
    bool shutDownEnabled = false;
    bool stopEnabled = false;
    bool pauseEnabled = false;
    bool resumeEnabled = false;
    QString startHint; ///< each says why its button is disabled, and is empty while it is not
    QString shutDownHint;
    QString stopHint;
    QString pauseHint;
    QString resumeHint;
    bool showsShutDown = false; ///< where there is no room for a disabled button
    bool showsFinishInstall = false;

    bool operator==(const VMPresentation &) const = default;
};

[[nodiscard]] VMPresentation presentationOf(const VirtualMachine &vm);
[[nodiscard]] BadgeTone::Tone badgeTone(VMState state);

/// Keeps the presentation of a machine up to date; an empty one without a machine.
class VMPresenter : public VMFollower
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(VMPresentation shown READ shown NOTIFY shownChanged)

public:
    [[nodiscard]] const VMPresentation &shown() const { return m_shown; }

Q_SIGNALS:
    void shownChanged();

private:
    void update() override;

    VMPresentation m_shown;
};
