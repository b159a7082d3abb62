#include "Services/QEMUDependencyService.h"

#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"

#include <functional>

using namespace Qt::StringLiterals;

namespace {

std::optional<QUrl> firstFile(const QStringList &prefixes,
                              std::initializer_list<QLatin1StringView> candidates,
                              const std::function<bool(const QString &)> &isRight)
{
    for (const QString &prefix : prefixes) {
        for (const QLatin1StringView candidate : candidates) {
            const QString path = prefix + candidate;
            if (isRight(path))
                return FileUrl::file(path);
        }
    }
    return std::nullopt;
}

} // namespace

bool QEMUDependencies::isComplete() const
{
    const FileManager &files = FileManager::defaultManager();
    return files.isExecutableFile(FileUrl::path(qemuBinary)) &&
           files.isExecutableFile(FileUrl::path(swtpmBinary)) && files.fileExists(FileUrl::path(uefiCode)) &&
           files.fileExists(FileUrl::path(uefiVarsTemplate));
}

bool QEMUDependencyStatus::isReady() const
{
    return dependencies && dependencies->isComplete();
}

QEMUDependencyService::QEMUDependencyService()
    : QEMUDependencyService(FileManager::defaultManager())
{}

QEMUDependencyService::QEMUDependencyService(FileManager &fileManager, const QStringList &prefixes)
    : m_fileManager(&fileManager)
    , m_prefixes(prefixes)
{}

const QStringList &QEMUDependencyService::defaultPrefixes()
{
    static const QStringList prefixes = {u"/opt/homebrew"_s, u"/usr/local"_s, u"/opt/local"_s};
    return prefixes;
}

QEMUDependencyStatus QEMUDependencyService::status() const
{
    const auto isExecutable = [this](const QString &path) {
        return m_fileManager->isExecutableFile(path);
    };
    const auto exists = [this](const QString &path) {
        return m_fileManager->fileExists(path);
    };
    const auto qemu = firstFile(m_prefixes, {"/bin/qemu-system-aarch64"_L1}, isExecutable);
    const auto swtpm = firstFile(m_prefixes, {"/bin/swtpm"_L1}, isExecutable);
    const auto code = firstFile(
        m_prefixes, {"/share/qemu/edk2-aarch64-code.fd"_L1, "/share/edk2-aarch64-code.fd"_L1}, exists);
    const auto vars = firstFile(m_prefixes,
                                {"/share/qemu/edk2-aarch64-vars.fd"_L1, "/share/qemu/edk2-arm-vars.fd"_L1,
                                 "/share/edk2-aarch64-vars.fd"_L1},
                                exists);

    QEMUDependencyStatus status;
    status.installHint =
        u"Install the required tools with Homebrew:\n\nbrew install qemu swtpm\n\nThen restart Kelvo."_s;
    if (!qemu)
        status.missingComponents.append(u"qemu-system-aarch64"_s);
    if (!swtpm)
        status.missingComponents.append(u"swtpm"_s);
    if (!code)
        status.missingComponents.append(u"UEFI firmware (edk2-aarch64-code.fd)"_s);
    if (!vars)
        status.missingComponents.append(u"UEFI variables template (edk2-aarch64-vars.fd)"_s);
    if (qemu && swtpm && code && vars)
        status.dependencies = QEMUDependencies{*qemu, *swtpm, *code, *vars};
    return status;
}
