#include "Virtualization/QEMU/QEMURuntimePaths.h"

#include "Models/VMConfiguration.h"
#include "Platform/FileUrl.h"
#include "Platform/UnixSocket.h"
#include "Virtualization/Backend/KelvoError.h"

using namespace Qt::StringLiterals;

QEMURuntimePaths QEMURuntimePaths::forConfiguration(const VMConfiguration &configuration)
{
    const QUrl tpmDirectory = FileUrl::appendingDirectory(configuration.storageDirectory, u"tpm"_s);
    return {
        .tpmDirectory = tpmDirectory,
        .tpmSocket = FileUrl::appending(tpmDirectory, u"swtpm.sock"_s),
        .uefiVars = configuration.uefiVarsURL(),
        .qmpSocket = configuration.qmpSocketURL(),
        .serialLog = configuration.serialLogURL(),
    };
}

void QEMURuntimePaths::requireAddressableSockets() const
{
    for (const QUrl &socket : {qmpSocket, tpmSocket}) {
        const QString path = FileUrl::path(socket);
        if (UnixSocket::fitsAddress(path))
            continue;
        throw KelvoError::configurationInvalid(
            u"Its folder has too long a path. The socket “%1” must have at most %2 bytes."_s.arg(path).arg(
                UnixSocket::maximumPathBytes));
    }
}
