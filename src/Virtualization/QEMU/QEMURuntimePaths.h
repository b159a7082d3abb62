#pragma once

#include <QUrl>

struct VMConfiguration;

/// The files of one machine that its two processes and the QMP client share.
struct QEMURuntimePaths
{
    QUrl tpmDirectory; ///< swtpm's state
    QUrl tpmSocket;    ///< swtpm's control socket, inside tpmDirectory
    QUrl uefiVars;     ///< the machine's own variable store
    QUrl qmpSocket;
    QUrl serialLog;

    bool operator==(const QEMURuntimePaths &) const = default;

    [[nodiscard]] static QEMURuntimePaths forConfiguration(const VMConfiguration &configuration);
};
