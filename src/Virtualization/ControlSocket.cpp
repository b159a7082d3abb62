#include "Virtualization/ControlSocket.h"

#include "Models/VMConfiguration.h"
#include "Platform/FileUrl.h"
#include "Platform/UnixSocket.h"

#include <QDir>

#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

bool hasSockets(const QString &folder)
{
    struct statfs fileSystem
    {};
    if (::statfs(QFile::encodeName(folder).constData(), &fileSystem) != 0)
        return true;
    constexpr std::array<quint32, 4> without = {MSDOS_SUPER_MAGIC, EXFAT_SUPER_MAGIC, FUSE_SUPER_MAGIC,
                                                SMB2_SUPER_MAGIC};
    return std::ranges::find(without, static_cast<quint32>(fileSystem.f_type)) == without.end();
}

} // namespace

QList<QUrl> ControlSocket::places(const VMConfiguration &configuration)
{
    const QString name = configuration.id.toString(QUuid::WithoutBraces) + u".sock"_s;
    return {FileUrl::appending(configuration.storageDirectory, u"control.sock"_s),
            FileUrl::file(sharedFolder() + u'/' + name)};
}

QUrl ControlSocket::forConfiguration(const VMConfiguration &configuration)
{
    const QList<QUrl> candidates = places(configuration);
    const bool fits = UnixSocket::fitsAddress(FileUrl::path(candidates.first()));
    return fits && hasSockets(FileUrl::path(configuration.storageDirectory)) ? candidates.first()
                                                                             : candidates.last();
}

QString ControlSocket::sharedFolder()
{
    const QString state = qEnvironmentVariable("XDG_STATE_HOME");
    // A relative path is to be ignored.
    return (state.startsWith(u'/') ? state : QDir::homePath() + u"/.local/state"_s) + u"/kelvo"_s;
}

void ControlSocket::makeSharedFolder()
{
    const QByteArray path = QFile::encodeName(sharedFolder());
    if (QDir().mkpath(QFile::decodeName(path)))
        ::chmod(path.constData(), S_IRWXU);
}
