#include "Virtualization/GuestWatch.h"

#include "Models/VMConfiguration.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/LocalizedError.h"
#include "Virtualization/ControlSocket.h"
#include "Virtualization/QEMU/QEMURuntimePaths.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

GuestWatch::GuestWatch(const QString &folder)
    : m_folder(folder)
{
    if (!m_folder.isEmpty())
        m_watcher.addPath(m_folder);
    m_again.setSingleShot(true);
    m_again.setInterval(500ms);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, [this] {
        noteNews();
        Q_EMIT timeToLook();
    });
    connect(&m_again, &QTimer::timeout, this, &GuestWatch::timeToLook);
}

bool GuestWatch::hasTraces(const VMConfiguration &configuration)
{
    QList<QUrl> sockets;
    if (configuration.backend == VMBackendType::appleVirtualization) {
        sockets = ControlSocket::places(configuration);
    } else {
        const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(configuration);
        sockets = {paths.qmpSocket, paths.tpmSocket};
    }
    return std::ranges::any_of(sockets, [](const QUrl &socket) {
        return FileManager::defaultManager().fileExists(FileUrl::path(socket));
    });
}

void GuestWatch::lookAgainSoon()
{
    if (m_again.isActive() || m_looksLeft == 0)
        return;
    --m_looksLeft;
    m_again.start();
}

void GuestWatch::announceStart() const
{
    if (m_folder.isEmpty())
        return;
    try {
        FileManager::defaultManager().writeAtomically(m_folder + u"/last-start"_s, {});
    } catch (const LocalizedError &) {
        // The others see it when they are next activated.
    }
}
