#include "UI/Wizard/WindowsNotes.h"

#include "Platform/Emulator/EmulatorAnswer.h"
#include "Platform/Hypervisor/EmulatorInstallation.h"
#include "Platform/OwnThread.h"

#include <QFile>
#include <QFutureWatcher>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

WindowsNotes::WindowsNotes(QObject *parent)
    : QObject(parent)
{
    const std::optional<EmulatorInstallation> installation = EmulatorInstallation::find();
    if (!installation)
        return;
    const std::string emulator = QFile::encodeName(installation->emulator).toStdString();
    // Whoever has asked may have gone on when the emulator answers.
    auto *watcher = new QFutureWatcher<std::optional<bool>>(this);
    connect(watcher, &QFutureWatcher<std::optional<bool>>::finished, this, [this, watcher] {
        m_lacksTPM = watcher->result() == false;
        Q_EMIT lacksTPMChanged();
    });
    watcher->setFuture(runOnOwnThread([emulator] { return emulatorHasTpmCrbDevice(emulator); }));
}

QList<LabeledValue> WindowsNotes::sections()
{
    QFile page(u":/docs/windows.md"_s);
    if (!page.open(QIODevice::ReadOnly))
        return {};
    // Addresses to be read and copied: the toolkit draws links in one color, for light pages alone.
    static const QRegularExpression link(u"\\[([^]]+)\\]\\(([^)]+)\\)(.*)"_s);
    QStringList parts = QString::fromUtf8(page.readAll()).replace(link, u"\\1\\3: `\\2`"_s).split(u"\n## "_s);
    // The page's own title is the window's.
    QList<LabeledValue> sections{{QString(), parts.takeFirst().section(u'\n', 1).trimmed()}};
    for (const QString &part : parts)
        sections.append({part.section(u'\n', 0, 0), part.section(u'\n', 1).trimmed()});
    return sections;
}
