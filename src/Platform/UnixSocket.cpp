#include "Platform/UnixSocket.h"

#include "Platform/PlatformError.h"

#include <QFile>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <algorithm>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

constexpr int queueLength = 16;

UniqueDescriptor makeSocket(int flags)
{
    UniqueDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (!socket.isValid())
        throw PlatformError(errno, u"make a socket"_s);
    return socket;
}

sockaddr_un addressOf(const QString &path)
{
    if (!UnixSocket::fitsAddress(path))
        throw PlatformError(ENAMETOOLONG, u"connect"_s, path);
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::ranges::copy(name, static_cast<char *>(address.sun_path));
    return address;
}

const sockaddr *generic(const sockaddr_un &address)
{
    return reinterpret_cast<const sockaddr *>(&address);
}

} // namespace

bool UnixSocket::fitsAddress(const QString &path)
{
    return QFile::encodeName(path).size() <= maximumPathBytes;
}

UniqueDescriptor UnixSocket::listen(const QString &path)
{
    const sockaddr_un address = addressOf(path);
    UniqueDescriptor socket = makeSocket(0);
    QFile::remove(path);
    // Nobody can connect before it listens.
    if (::bind(socket.get(), generic(address), sizeof address) != 0 ||
        ::chmod(address.sun_path, S_IRUSR | S_IWUSR) != 0 || ::listen(socket.get(), queueLength) != 0) {
        const int code = errno;
        QFile::remove(path);
        throw PlatformError(code, u"make the socket"_s, path);
    }
    return socket;
}

UniqueDescriptor UnixSocket::connect(const QString &path)
{
    const sockaddr_un address = addressOf(path);
    struct stat file
    {};
    if (::lstat(address.sun_path, &file) == 0 && S_ISLNK(file.st_mode))
        throw PlatformError(ELOOP, u"connect"_s, path);
    UniqueDescriptor socket = makeSocket(SOCK_NONBLOCK);
    if (::connect(socket.get(), generic(address), sizeof address) == 0)
        return socket;
    if (errno == EAGAIN)
        return {};
    throw PlatformError(errno, u"connect"_s, path);
}

bool UnixSocket::hasListener(const QString &path)
{
    try {
        (void)connect(path);
        return true;
    } catch (const PlatformError &) {
        return false;
    }
}

UnixSocket::Peer UnixSocket::peerOf(const UniqueDescriptor &connection)
{
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (::getsockopt(connection.get(), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        return {};
    // By number: the C++ of glibc 2.36 cannot link pidfd_open(2).
    const auto process = static_cast<int>(::syscall(SYS_pidfd_open, credentials.pid, 0));
    return {UniqueDescriptor(process), credentials.pid, credentials.uid == ::geteuid()};
}

bool UnixSocket::Peer::runsProgram(QStringView name) const
{
    const QString program = QFile::symLinkTarget(u"/proc/%1/exe"_s.arg(identifier));
    // The number could be another process's by now, unless the one that it was still lives after the look.
    pollfd end = {process.get(), POLLIN, 0};
    const bool lives = process.isValid() && ::poll(&end, 1, 0) == 0;
    return lives && program.section(u'/', -1).contains(name);
}
