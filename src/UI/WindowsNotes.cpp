#include "UI/WindowsNotes.h"

#include "Platform/Hypervisor/EmulatorAnswer.h"
#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/OwnThread.h"

#include <QFile>

using namespace Qt::StringLiterals;

WindowsNotes::WindowsNotes(QObject *parent)
    : QObject(parent)
{
    const std::optional<EmulatorInstallation> installation = EmulatorInstallation::find();
    if (!installation)
        return;
    const std::string emulator = QFile::encodeName(installation->emulator).toStdString();
    runOnOwnThread([emulator] {
        return emulatorHasTpmCrbDevice(emulator);
    }).then(this, [this](bool hasDevice) {
        m_lacksTPM = !hasDevice;
        Q_EMIT lacksTPMChanged();
    });
}

QString WindowsNotes::text()
{
    QFile page(u":/docs/windows.md"_s);
    return page.open(QIODevice::ReadOnly) ? QString::fromUtf8(page.readAll()) : QString();
}
