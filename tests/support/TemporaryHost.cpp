#include "support/TemporaryHost.h"

#include "Platform/FileUrl.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

TemporaryHost::TemporaryHost()
{
    if (!m_folder.isValid())
        qFatal("no temporary folder: %s", qPrintable(m_folder.errorString()));
}

QString TemporaryHost::path(const QString &relative) const
{
    return relative.isEmpty() ? m_folder.path() : m_folder.filePath(relative);
}

QUrl TemporaryHost::root() const
{
    return FileUrl::directory(path(u"Virtual Machines"_s));
}

void TemporaryHost::installTools()
{
    for (const auto &tool : {u"bin/qemu-system-aarch64"_s, u"bin/swtpm"_s}) {
        write(u"prefix/"_s + tool, "#!/bin/sh\nexit 0\n");
        QFile::setPermissions(path(u"prefix/"_s + tool), QFile::ReadOwner | QFile::ExeOwner);
    }
    write(u"prefix/share/qemu/edk2-aarch64-code.fd"_s, "code");
    write(u"prefix/share/qemu/edk2-aarch64-vars.fd"_s, "vars");
}

void TemporaryHost::removeTools()
{
    QDir(path(u"prefix"_s)).removeRecursively();
}

void TemporaryHost::write(const QString &relative, const QByteArray &bytes) const
{
    const QString whole = path(relative);
    QDir().mkpath(whole.left(whole.lastIndexOf(u'/')));
    QFile file(whole);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(whole));
}

QByteArray TemporaryHost::read(const QString &relative) const
{
    QFile file(path(relative));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QEMUDependencyService TemporaryHost::dependencyService()
{
    return QEMUDependencyService(m_fileManager, {path(u"prefix"_s)});
}

VMManager::Collaborators TemporaryHost::collaborators(const VMManager::ControllerFactory &makeController)
{
    const FileService files(m_fileManager);
    return {
        .storage = VMStorage(root(), m_fileManager),
        .diskManager = DiskManager(files),
        .installer = VMInstaller(DiskManager(files)),
        .systemInfoService = SystemInfoService(files, HostFacts::current()),
        .qemuDependencyService = dependencyService(),
        .makeController = makeController,
    };
}
