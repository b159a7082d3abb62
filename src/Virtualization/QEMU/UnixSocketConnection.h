#pragma once

#include "Platform/UniqueDescriptor.h"

#include <QByteArray>
#include <QString>

#include <sys/un.h>

#include <chrono>

/// A blocking client of a unix-domain stream socket (unix(7)). Failures are KelvoError::internalError. Any
/// one thread.
class UnixSocketConnection
{
public:
    /// Of a path in the file system's encoding: with its terminating zero it must fit the address.
    static constexpr qsizetype maximumPathBytes = sizeof(sockaddr_un::sun_path) - 1;

    static constexpr std::chrono::milliseconds forever = std::chrono::milliseconds::max();

    /// Connects. `timeout` bounds this and every later write and read; a listener whose queue is full or a
    /// silent peer would hold the caller for ever otherwise.
    explicit UnixSocketConnection(const QString &path, std::chrono::milliseconds timeout = forever);

    /// −1 once closed.
    [[nodiscard]] int fd() const { return m_fd.get(); }
    /// All of `data` by one call; what the socket does not take at once is a failure.
    void write(QByteArrayView data);
    /// What is there, at most `count` bytes; empty at the end of the stream.
    [[nodiscard]] QByteArray read(qsizetype upTo);
    /// True when a read would not wait, which includes the end of the stream.
    [[nodiscard]] bool waitUntilReadable(std::chrono::milliseconds timeout);
    [[nodiscard]] static bool waitUntilReadable(const UniqueDescriptor &descriptor,
                                                std::chrono::milliseconds timeout);
    void close() { m_fd.reset(); }
    /// A descriptor of the process that listens (SO_PEERCRED, pidfd_open(2)), readable once it has ended;
    /// invalid when it has already.
    [[nodiscard]] UniqueDescriptor openPeer() const;

    /// Whether a process listens there now. Does not wait.
    [[nodiscard]] static bool hasListener(const QString &path);
    [[nodiscard]] static bool fitsAddress(const QString &path);

private:
    UniqueDescriptor m_fd;
};
