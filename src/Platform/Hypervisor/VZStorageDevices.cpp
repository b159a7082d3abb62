#include "Platform/Hypervisor/VZStorageDevices.h"

#include "Platform/FileUrl.h"
#include "Platform/Hypervisor/VZError.h"

#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

VZDiskImageStorageDeviceAttachment::VZDiskImageStorageDeviceAttachment(const QUrl &url, bool readOnly)
    : m_url(url)
    , m_isReadOnly(readOnly)
{
    const QString path = FileUrl::path(url);
    const QByteArray name = QFile::encodeName(path);
    struct stat file
    {};
    if (::stat(name.constData(), &file) != 0)
        throw VZError(u"The disk image “%1” does not exist."_s.arg(path));
    if (!S_ISREG(file.st_mode))
        throw VZError(u"The disk image “%1” is not a file."_s.arg(path));
    if (::access(name.constData(), readOnly ? R_OK : R_OK | W_OK) != 0) {
        throw VZError((readOnly ? u"The disk image “%1” cannot be read."_s
                                : u"The disk image “%1” cannot be written."_s)
                          .arg(path));
    }
}
