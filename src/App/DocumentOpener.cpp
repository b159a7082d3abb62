#include "App/DocumentOpener.h"

#include "App/State/AppState.h"
#include "Platform/FileUrl.h"
#include "Services/ISOService.h"
#include "Virtualization/VMManager.h"

#include <QDir>
#include <QFileInfo>

DocumentOpener::DocumentOpener(AppState &state, QObject *parent)
    : QObject(parent)
    , m_state(state)
{
    connect(&m_state, &AppState::loaded, this, &DocumentOpener::openWaiting);
}

void DocumentOpener::open(const QList<QUrl> &documents)
{
    m_waiting += documents;
    if (m_state.isLoaded())
        openWaiting();
}

void DocumentOpener::openWaiting()
{
    const QList<QUrl> documents = std::exchange(m_waiting, {});
    for (const QUrl &document : documents)
        openOne(document);
}

void DocumentOpener::openOne(const QUrl &document)
{
    const QString path = FileUrl::path(document);
    const QFileInfo file(path);
    if (!document.isLocalFile() || !file.exists()) {
        m_state.setErrorMessage(
            tr("“%1” does not exist.").arg(path.isEmpty() ? document.toDisplayString() : path));
    } else if (file.isDir()) {
        openMachine(document);
    } else if (QDir::match(ISOService().namePatterns(), file.fileName())) {
        m_state.setProposedImage(FileUrl::file(file.absoluteFilePath()));
        m_state.setShowingCreateVM(true);
    } else {
        m_state.setErrorMessage(tr("“%1” is neither a virtual machine nor an installation image.").arg(path));
    }
}

void DocumentOpener::openMachine(const QUrl &bundle)
{
    try {
        VirtualMachine *vm = m_state.vmManager()->openBundle(bundle);
        m_state.setSelectedSection(SidebarSection::virtualMachines);
        m_state.select(vm);
        m_state.showConsole(vm);
    } catch (const LocalizedError &error) {
        m_state.setErrorMessage(error.localizedDescription());
    }
}
