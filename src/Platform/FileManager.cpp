#include "Platform/FileManager.h"

#include "Platform/PlatformError.h"
#include "Platform/UniqueDescriptor.h"

#include <QFile>

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

constexpr mode_t userFile = 0600;
constexpr mode_t userFolder = 0700;

QString parentOf(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash <= 0 ? u"/"_s : path.left(slash);
}

UniqueDescriptor openFile(const QString &path, int flags)
{
    const QByteArray name = QFile::encodeName(path);
    UniqueDescriptor descriptor(::open(name.constData(), flags | O_CLOEXEC, userFile));
    if (!descriptor.isValid())
        throw PlatformError(errno, u"open"_s, path);
    return descriptor;
}

qint64 sizeOfRegular(const UniqueDescriptor &file, const QString &path)
{
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0)
        throw PlatformError(errno, u"read"_s, path);
    if (!S_ISREG(status.st_mode))
        throw PlatformError(S_ISDIR(status.st_mode) ? EISDIR : EINVAL, u"read"_s, path);
    return status.st_size;
}

void synchronize(int descriptor, const QString &path)
{
    if (::fsync(descriptor) != 0)
        throw PlatformError(errno, u"save"_s, path);
}

void synchronizeFolder(const QString &path)
{
    const UniqueDescriptor folder = openFile(path, O_RDONLY | O_DIRECTORY);
    // Some network file systems cannot synchronise a folder and say EINVAL; the file itself is safe by then.
    if (::fsync(folder.get()) != 0 && errno != EINVAL)
        throw PlatformError(errno, u"save"_s, path);
}

void writeAll(int descriptor, const char *bytes, qint64 count, const QString &path)
{
    while (count > 0) {
        const ssize_t written = ::write(descriptor, bytes, static_cast<std::size_t>(count));
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw PlatformError(errno, u"write to"_s, path);
        bytes += written;
        count -= written;
    }
}

constexpr auto temporaryPrefix = ".kelvo-"_L1;
constexpr qsizetype temporaryNameLength = temporaryPrefix.size() + 6; // mkostemp(3)
constexpr time_t longestWriteSeconds = 60;

/// Removes what killed writers have left in a folder; files that somebody may be writing now stay.
void sweepTemporaryFiles(const QString &folder)
{
    const QByteArray name = QFile::encodeName(folder);
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(::opendir(name.constData()), &::closedir);
    if (!entries)
        return;
    while (const dirent *entry = ::readdir(entries.get())) {
        const QLatin1StringView file(static_cast<const char *>(entry->d_name));
        if (file.size() != temporaryNameLength || !file.startsWith(temporaryPrefix))
            continue;
        struct stat status = {};
        const int place = ::dirfd(entries.get());
        if (::fstatat(place, file.data(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode) &&
            status.st_mtime < ::time(nullptr) - longestWriteSeconds)
            ::unlinkat(place, file.data(), 0);
    }
}

/// A file with a name of its own beside `target`; it is removed unless it was moved into place.
class TemporaryFile
{
public:
    explicit TemporaryFile(const QString &target)
        : m_target(target)
        , m_name(QFile::encodeName(parentOf(target) + u'/' + temporaryPrefix + u"XXXXXX"_s))
        , m_descriptor(::mkostemp(m_name.data(), O_CLOEXEC))
    {
        if (!m_descriptor.isValid())
            throw PlatformError(errno, u"write to"_s, target);
    }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;
    ~TemporaryFile()
    {
        if (!m_isMoved)
            ::unlink(m_name.constData());
    }

    [[nodiscard]] int descriptor() const { return m_descriptor.get(); }

    void replaceTarget()
    {
        synchronize(m_descriptor.get(), m_target);
        if (::rename(m_name.constData(), QFile::encodeName(m_target).constData()) != 0)
            throw PlatformError(errno, u"write to"_s, m_target);
        m_isMoved = true;
        synchronizeFolder(parentOf(m_target));
    }

    void becomeNewTarget()
    {
        synchronize(m_descriptor.get(), m_target);
        // link(2) refuses an existing target, which rename(2) would silently replace.
        if (::link(m_name.constData(), QFile::encodeName(m_target).constData()) != 0)
            throw PlatformError(errno, u"write to"_s, m_target);
        synchronizeFolder(parentOf(m_target));
    }

private:
    QString m_target;
    QByteArray m_name;
    UniqueDescriptor m_descriptor;
    bool m_isMoved = false;
};

void copyRange(int from, int to, off_t begin, off_t end, const QString &path)
{
    if (::lseek(to, begin, SEEK_SET) < 0)
        throw PlatformError(errno, u"write to"_s, path);
    while (begin < end) {
        const ssize_t count = ::sendfile(to, from, &begin, static_cast<std::size_t>(end - begin));
        if (count == 0)
            return;
        if (count < 0 && errno != EINTR)
            throw PlatformError(errno, u"write to"_s, path);
    }
}

} // namespace

FileManager::~FileManager() = default;

FileManager &FileManager::defaultManager()
{
    static FileManager manager;
    return manager;
}

QString FileManager::homeDirectoryForCurrentUser() const
{
    if (const char *home = std::getenv("HOME"); home != nullptr && *home == '/')
        return QFile::decodeName(home);
    if (const passwd *entry = ::getpwuid(::getuid()); entry != nullptr)
        return QFile::decodeName(entry->pw_dir);
    return u"/"_s;
}

bool FileManager::fileExists(const QString &path) const
{
    return ::access(QFile::encodeName(path).constData(), F_OK) == 0;
}

bool FileManager::directoryExists(const QString &path) const
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

FileManager::FileKind FileManager::kindOf(const QString &path) const
{
    struct stat status = {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0)
        return FileKind::absent;
    switch (status.st_mode & S_IFMT) {
    case S_IFREG:
        return FileKind::file;
    case S_IFDIR:
        return FileKind::folder;
    case S_IFLNK:
        return FileKind::link;
    case S_IFSOCK:
        return FileKind::socket;
    default:
        return FileKind::other;
    }
}

bool FileManager::isExecutableFile(const QString &path) const
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    return ::stat(name.constData(), &status) == 0 && S_ISREG(status.st_mode) &&
           ::access(name.constData(), X_OK) == 0;
}

void FileManager::createDirectory(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    int code = ::mkdir(name.constData(), userFolder) == 0 ? 0 : errno;
    if (const QString parent = parentOf(path); code == ENOENT && parent != path) {
        createDirectory(parent);
        code = ::mkdir(name.constData(), userFolder) == 0 ? 0 : errno;
    }
    if (code != 0 && !directoryExists(path))
        throw PlatformError(code, u"create folder"_s, path);
}

QList<FileManager::DirectoryEntry> FileManager::contentsOfDirectory(const QString &path) const
{
    QList<DirectoryEntry> entries;
    std::error_code error;
    std::filesystem::directory_iterator entry(QFile::encodeName(path).toStdString(), error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        const QString name = QFile::decodeName(entry->path().filename().c_str());
        std::error_code unreachable;
        if (!name.startsWith(u'.'))
            entries.append({name, entry->is_directory(unreachable)});
    }
    if (error)
        throw PlatformError(error.value(), u"list folder"_s, path);
    return entries;
}

QByteArray FileManager::readFile(const QString &path, qint64 maximumBytes) const
{
    const UniqueDescriptor file = openFile(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    const qint64 size = sizeOfRegular(file, path);
    if (size > maximumBytes)
        throw PlatformError(EFBIG, u"read"_s, path);

    // One byte more than the size seen: a read that leaves room has met the end, also of a file that grew.
    QByteArray bytes(static_cast<qsizetype>(size) + 1, Qt::Uninitialized);
    qsizetype length = 0;
    while (true) {
        const ssize_t count =
            ::read(file.get(), bytes.data() + length, static_cast<std::size_t>(bytes.size() - length));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw PlatformError(errno, u"read"_s, path);
        length += count;
        if (length > maximumBytes)
            throw PlatformError(EFBIG, u"read"_s, path);
        if (length < bytes.size())
            break;
        bytes.resize(bytes.size() * 2);
    }
    bytes.truncate(length);
    return bytes;
}

FileManager::Tail FileManager::readTail(const QString &path, qint64 position, qint64 maximumBytes) const
{
    const UniqueDescriptor file = openFile(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    const qint64 size = sizeOfRegular(file, path);
    const qint64 begin = std::max(position <= size ? position : 0, size - maximumBytes);
    QByteArray bytes(static_cast<qsizetype>(size - begin), Qt::Uninitialized);
    qsizetype length = 0;
    while (length < bytes.size()) {
        const ssize_t count = ::pread(file.get(), bytes.data() + length,
                                      static_cast<std::size_t>(bytes.size() - length), begin + length);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            throw PlatformError(errno, u"read"_s, path);
        if (count == 0)
            break; // it has just become shorter
        length += count;
    }
    bytes.truncate(length);
    return {.begin = begin, .bytes = bytes};
}

void FileManager::writeAtomically(const QString &path, const QByteArray &bytes)
{
    TemporaryFile temporary(path);
    writeAll(temporary.descriptor(), bytes.constData(), bytes.size(), path);
    temporary.replaceTarget();
    sweepTemporaryFiles(parentOf(path));
}

bool FileManager::createFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    const UniqueDescriptor file(::open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, userFile));
    return file.isValid();
}

void FileManager::truncateFile(const QString &path, quint64 length)
{
    const UniqueDescriptor file = openFile(path, O_WRONLY | O_NONBLOCK | O_NOCTTY);
    if (length > static_cast<quint64>(std::numeric_limits<off_t>::max()))
        throw PlatformError(EFBIG, u"resize"_s, path);
    if (::ftruncate(file.get(), static_cast<off_t>(length)) != 0)
        throw PlatformError(errno, u"resize"_s, path);
}

void FileManager::copyItem(const QString &from, const QString &to, const std::optional<Amendment> &amendment)
{
    const UniqueDescriptor source = openFile(from, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    const off_t size = sizeOfRegular(source, from);
    TemporaryFile temporary(to);
    if (::ftruncate(temporary.descriptor(), size) != 0)
        throw PlatformError(errno, u"write to"_s, to);
    for (off_t position = 0; position < size;) {
        const off_t data = ::lseek(source.get(), position, SEEK_DATA);
        if (data < 0 && errno == ENXIO)
            break;
        position = data < 0 ? data : ::lseek(source.get(), data, SEEK_HOLE);
        if (position < 0)
            throw PlatformError(errno, u"copy"_s, from);
        copyRange(source.get(), temporary.descriptor(), data, position, to);
    }
    if (amendment) {
        if (::lseek(temporary.descriptor(), amendment->offset, SEEK_SET) < 0)
            throw PlatformError(errno, u"write to"_s, to);
        writeAll(temporary.descriptor(), amendment->bytes.constData(), amendment->bytes.size(), to);
    }
    temporary.becomeNewTarget();
}

void FileManager::removeItem(const QString &path)
{
    if (::unlink(QFile::encodeName(path).constData()) != 0)
        throw PlatformError(errno, u"remove"_s, path);
}

std::optional<FileManager::Version> FileManager::versionOf(const QString &path) const
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    constexpr qint64 nanosecondsPerSecond = 1'000'000'000;
    return Version{.inode = status.st_ino,
                   .nanoseconds = status.st_mtim.tv_sec * nanosecondsPerSecond + status.st_mtim.tv_nsec};
}

FileManager::FileSizes FileManager::fileSizes(const QString &path) const
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        throw PlatformError(errno, u"measure"_s, path);
    constexpr quint64 blockBytes = 512; // stat(2): st_blocks counts 512-byte units
    return {static_cast<quint64>(status.st_blocks) * blockBytes, static_cast<quint64>(status.st_size)};
}

std::optional<quint64> FileManager::availableCapacity(const QString &path) const
{
    struct statvfs status = {};
    if (::statvfs(QFile::encodeName(path).constData(), &status) != 0)
        throw PlatformError(errno, u"measure"_s, path);
    return static_cast<quint64>(status.f_bavail) * status.f_frsize;
}
