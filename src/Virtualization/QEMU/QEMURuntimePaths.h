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

    /// Throws KelvoError::configurationInvalid when the path of a socket is longer than an address may be
    /// (unix(7)), because the bundle lies deep or has a long name.
    void requireAddressableSockets() const;
};
