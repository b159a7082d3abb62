#include "support/QEMUStage.h"

#include "Platform/FileUrl.h"
#include "Platform/UniqueDescriptor.h"
#include "support/ScriptedChild.h"

#include <QDir>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

const QString QEMUStage::goodEmulator = u"note-pid; open-socket; open-port; serve-qmp"_s;
const QString QEMUStage::goodTPM = u"open-socket; serve-tpm"_s;

QEMUStage::QEMUStage(const QString &emulatorScript, const QString &tpmScript, const QString &folder)
    : m_temporary(folder.isEmpty() ? std::make_unique<QTemporaryDir>() : nullptr)
    , m_path(m_temporary ? m_temporary->path() : folder)
{
    ScriptedChild::install(emulator(), emulatorScript);
    ScriptedChild::install(tpm(), tpmScript);
    QDir().mkpath(path(u"share/qemu"_s));
    m_fileManager->writeAtomically(path(u"share/qemu/edk2-aarch64-code.fd"_s), "code");
    m_fileManager->writeAtomically(path(u"share/qemu/edk2-aarch64-vars.fd"_s), "template");

    configuration =
        VMConfiguration::defaultConfiguration(u"Windows 11"_s, GuestOperatingSystem::windows11ARM64);
    configuration.storageDirectory = FileUrl::directory(path(u"Windows 11.vm"_s));
    configuration.vncPort = freePort();
    m_fileManager->createDirectory(path(u"Windows 11.vm"_s));
    m_fileManager->writeAtomically(path(u"Windows 11.vm/disk.img"_s), "disk");
}

QEMUDependencyService QEMUStage::dependencyService() const
{
    return QEMUDependencyService(*m_fileManager, {m_path});
}

std::unique_ptr<QEMUBackendController> QEMUStage::makeController(const QEMUTimeouts &timeouts) const
{
    return std::make_unique<QEMUBackendController>(dependencyService(), *m_fileManager, timeouts);
}

QList<pid_t> QEMUStage::emulatorProcesses() const
{
    QList<pid_t> processes;
    for (const QString &line : ScriptedChild::received(emulator()))
        if (line.front().isDigit())
            processes.append(line.toInt());
    return processes;
}

QStringList QEMUStage::sockets() const
{
    const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(configuration);
    QStringList names;
    for (const QUrl &socket : {paths.qmpSocket, paths.tpmSocket})
        if (m_fileManager->fileExists(FileUrl::path(socket)))
            names.append(FileUrl::lastComponent(socket));
    return names;
}

qint64 freePort()
{
    static int next = 20000 + static_cast<int>(::getpid()) % 5000;
    while (true) {
        const UniqueDescriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        address.sin_port = ::htons(static_cast<in_port_t>(++next));
        if (::bind(socket.get(), reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
            return next;
    }
}
