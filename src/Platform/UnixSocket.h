#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QString>

#include <sys/un.h>

/// Stream sockets of the unix domain (unix(7)). None of these calls waits. Any thread.
namespace UnixSocket {

/// Of a path in the file system's encoding: with its terminating zero it must fit the address.
inline constexpr qsizetype maximumPathBytes = sizeof(sockaddr_un::sun_path) - 1;

[[nodiscard]] bool fitsAddress(const QString &path);
/// A listening socket that only this user can reach, in the place of whatever was at the path. Throws
/// PlatformError.
[[nodiscard]] UniqueDescriptor listen(const QString &path);
/// A non-blocking connection to a socket, not to a link to one; invalid where the queue of those who wait for
/// the listener is full. Throws PlatformError.
[[nodiscard]] UniqueDescriptor connect(const QString &path);
/// Whether a process listens there now.
[[nodiscard]] bool hasListener(const QString &path);

/// The process that listens at the other end of a connection.
struct Peer
{
    UniqueDescriptor process; ///< pidfd_open(2), readable once it has ended; invalid when it has already
    pid_t identifier = -1;
    bool isOurUser = false;

    /// Whether it lives and the file name of its program contains `name`.
    [[nodiscard]] bool runsProgram(QStringView name) const;
};

/// SO_PEERCRED.
[[nodiscard]] Peer peerOf(const UniqueDescriptor &connection);

} // namespace UnixSocket
