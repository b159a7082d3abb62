#include "Virtualization/Backend/QEMUBackendController.h"

#include "Platform/Emulator/KVMProbe.h"
#include "Platform/FileLock.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Virtualization/Backend/KelvoError.h"
#include "Virtualization/BundleFiles.h"
#include "Virtualization/QEMU/FirmwareVariables.h"
#include "Virtualization/QEMU/QEMUCommandBuilder.h"

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 firstVNCPort = 5900; // display number 0
constexpr qint64 lastVNCPort = 65535;
// The largest screen, in pixels, that edk2 gives a guest without a driver; by itself it takes 800x600.
constexpr quint32 screenWidth = 1024;
constexpr quint32 screenHeight = 768;

void requireUsablePort(qint64 port)
{
    if (port < firstVNCPort || port > lastVNCPort) {
        throw KelvoError::configurationInvalid(
            u"The VNC port %1 is not between %2 and %3."_s.arg(port).arg(firstVNCPort).arg(lastVNCPort));
    }
}

void requireProcessors(qint64 count)
{
    const qint64 maximum = hostKVM().maximumProcessors();
    if (count > maximum) {
        throw KelvoError::configurationInvalid(
            u"This computer can give a machine %1 processors at most, and this one is set to %2."_s
                .arg(maximum)
                .arg(count));
    }
}

/// The emulator would say so too, but only in the log.
void requireDisk(const QUrl &disk, const FileManager &fileManager)
{
    if (!fileManager.fileExists(FileUrl::path(disk))) {
        throw KelvoError::configurationInvalid(
            u"Its disk image “%1” is missing."_s.arg(FileUrl::lastComponent(disk)));
    }
}

} // namespace

QEMUBackendController::QEMUBackendController()
    : QEMUBackendController(QEMUDependencyService(), FileManager::defaultManager(), QEMUTimeouts())
{}

QEMUBackendController::QEMUBackendController(const QEMUDependencyService &dependencyService,
                                             FileManager &fileManager, const QEMUTimeouts &timeouts)
    : m_dependencyService(dependencyService)
    , m_fileManager(&fileManager)
    , m_timeouts(timeouts)
    , m_guest(std::make_shared<QEMUGuest>(timeouts))
{
    m_guest->onUnaskedChange([this](const QString &reason) { tellOfUnaskedChange(reason); });
}

QEMUBackendController::~QEMUBackendController()
{
    m_guest->onUnaskedChange({});
}

VMState QEMUBackendController::state() const
{
    return m_guest->state();
}

std::optional<QString> QEMUBackendController::vncHost() const
{
    return u"127.0.0.1"_s;
}

std::optional<qint64> QEMUBackendController::vncPort() const
{
    const std::optional<QEMULaunchPlan> &plan = m_guest->plan();
    return plan ? std::optional(plan->configuration.vncPort) : std::nullopt;
}

void QEMUBackendController::configure(const VMConfiguration &configuration, VMBuildMode mode,
                                      const std::optional<QUrl> &attachISO)
{
    const QEMUDependencyStatus status = m_dependencyService.status();
    if (!status.isReady())
        throw KelvoError::qemuDependenciesMissing(status.missingComponents.join(u", "));
    const QEMUDependencies &dependencies = *status.dependencies;
    const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(configuration);
    requireUsablePort(configuration.vncPort);
    requireProcessors(configuration.cpuCount);
    paths.requireAddressableSockets();
    BundleFiles::requireOrdinary({configuration.diskURL(), paths.uefiVars, paths.serialLog}, *m_fileManager);
    BundleFiles::requireOrdinaryFolder(paths.tpmDirectory, *m_fileManager);
    requireDisk(configuration.diskURL(), *m_fileManager);

    prepareUEFIVariables(dependencies.uefiVarsTemplate, paths.uefiVars);
    m_fileManager->createDirectory(FileUrl::path(configuration.storageDirectory));
    m_fileManager->createDirectory(FileUrl::path(paths.tpmDirectory));
    if (const UniqueDescriptor lock = FileLock::take(FileUrl::path(paths.uefiVars)); lock.isValid())
        QEMUGuest::removeSocket(paths.qmpSocket);
    const QEMUCommandBuilder builder(dependencies, *m_fileManager);
    const QStringList arguments = builder.buildArguments(configuration, mode, attachISO, paths.uefiVars,
                                                         paths.tpmSocket, paths.qmpSocket);
    m_guest->setPlan({
        .configuration = configuration,
        .runtimePaths = paths,
        .dependencies = dependencies,
        .arguments = arguments,
        .qmpClient = QMPClient(paths.qmpSocket, m_timeouts.qmp),
    });
}

void QEMUBackendController::prepareUEFIVariables(const QUrl &uefiVarsTemplate, const QUrl &destination)
{
    const QString store = FileUrl::path(destination);
    if (m_fileManager->fileExists(store))
        return;
    const QString original = FileUrl::path(uefiVarsTemplate);
    const QByteArray image = m_fileManager->readFile(original, FirmwareVariables::maximumBytes);
    m_fileManager->copyItem(
        original, store,
        FirmwareVariables::screenSize(image, screenWidth, screenHeight).value_or(FileManager::Amendment()));
}

QCoro::Task<> QEMUBackendController::start()
{
    return m_guest->start();
}
QCoro::Task<> QEMUBackendController::stop()
{
    return m_guest->stop();
}
QCoro::Task<> QEMUBackendController::requestShutDown()
{
    return m_guest->requestShutDown();
}
QCoro::Task<> QEMUBackendController::pause()
{
    return m_guest->pause();
}
QCoro::Task<> QEMUBackendController::resume()
{
    return m_guest->resume();
}
void QEMUBackendController::resetStateMachine(VMState to)
{
    m_guest->resetStateMachine(to);
}
QCoro::Task<GuestTakeUp> QEMUBackendController::takeUp(VMConfiguration configuration)
{
    const QEMURuntimePaths paths = QEMURuntimePaths::forConfiguration(configuration);
    BundleFiles::requireOrdinary({paths.uefiVars}, *m_fileManager);
    BundleFiles::requireOrdinaryFolder(paths.tpmDirectory, *m_fileManager);
    return m_guest->takeUp({
        .configuration = configuration,
        .runtimePaths = paths,
        .dependencies = {},
        .arguments = {},
        .qmpClient = QMPClient(paths.qmpSocket, m_timeouts.qmp),
    });
}
