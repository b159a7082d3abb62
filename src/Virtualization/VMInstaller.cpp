#include "Virtualization/VMInstaller.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Services/DiagnosticLogger.h"
#include "Virtualization/Backend/AppleVirtualizationController.h"
#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

VMInstaller::VMInstaller(const DiskManager &diskManager)
    : m_configurationBuilder(diskManager)
    , m_diskManager(diskManager)
{}

QUrl VMInstaller::resolveISO(const VMConfiguration &configuration,
                             const std::optional<QUrl> &overrideISO) const
{
    const std::optional<QUrl> medium = overrideISO ? overrideISO : configuration.installationMediaURL();
    const FileManager &files = m_diskManager.fileService().fileManager();
    if (!medium || !files.fileExists(FileUrl::path(*medium)))
        throw KelvoError::installationMediaUnavailable();
    return *medium;
}

VZVirtualMachineConfiguration VMInstaller::prepareForInstallation(const VMConfiguration &configuration,
                                                                  const QUrl &isoURL) const
{
    m_diskManager.createDisk(configuration.diskURL(), configuration.diskSizeBytes);
    (void)m_diskManager.loadOrCreateEFIVariableStore(configuration.efiVariableStoreURL());
    (void)m_diskManager.loadOrCreateMachineIdentifier(configuration.machineIdentifierURL());
    DiagnosticLogger::shared().log(u"Prepared installation environment for "_s + configuration.name,
                                   LogLevel::info);
    return m_configurationBuilder.build(configuration, VMBuildMode::installation, isoURL);
}

QCoro::Task<> VMInstaller::beginInstallation(VMConfiguration configuration, QUrl isoURL,
                                             VMBackendController &controller) const
{
    auto &framework = dynamic_cast<AppleVirtualizationController &>(controller);
    framework.configure(prepareForInstallation(configuration, isoURL));
    const QCoro::Task<> start = framework.start();
    co_await start;
}
