#include "Virtualization/QEMU/QEMURuntimePaths.h"

#include "Models/VMConfiguration.h"
#include "Platform/FileUrl.h"

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
