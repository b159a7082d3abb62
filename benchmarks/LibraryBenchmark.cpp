#include "LibraryBenchmark.h"

#include "Models/VMConfigurationCoding.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Platform/PlatformError.h"
#include "Statistics.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/VMManager.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QTemporaryDir>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

using namespace Qt::StringLiterals;

namespace {

/// Writes without waiting for the disk, which would take minutes for a large library.
void writeQuickly(const QUrl &url, const QByteArray &bytes)
{
    QFile file(FileUrl::path(url));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw PlatformError(EIO, u"write to"_s, file.fileName());
}

void makeBundles(const QUrl &root, int count)
{
    for (int number = 0; number < count; ++number) {
        const QString name = u"Machine %1"_s.arg(number);
        auto configuration =
            VMConfiguration::defaultConfiguration(name, GuestOperatingSystem::windows11ARM64);
        configuration.storageDirectory = FileUrl::appendingDirectory(root, name + u".vm"_s);
        configuration.installationMediaPath = u"/home/user/Downloads/installer.iso"_s;
        FileManager::defaultManager().createDirectory(FileUrl::path(configuration.storageDirectory));
        writeQuickly(configuration.configFileURL(), encodeConfiguration(configuration));
        writeQuickly(configuration.metadataFileURL(), encodeMetadata(VMPersistedMetadata()));
        writeQuickly(configuration.diskURL(), QByteArray());
    }
}

/// The least that it can cost to read the same documents with the same parser and to measure the same images.
/// Returns the bytes read.
qint64 readPlainly(const QByteArray &root)
{
    qint64 total = 0;
    std::array<char, std::size_t(64) << 10> buffer = {};
    DIR *folder = ::opendir(root.constData());
    while (const dirent *entry = ::readdir(folder)) {
        if (entry->d_name[0] == '.')
            continue;
        const QByteArray bundle = root + '/' + static_cast<const char *>(entry->d_name);
        for (const char *file : {"/config.json", "/metadata.json"}) {
            const int descriptor = ::open((bundle + file).constData(), O_RDONLY | O_CLOEXEC);
            const ssize_t length = ::read(descriptor, buffer.data(), buffer.size());
            ::close(descriptor);
            const auto document = QJsonDocument::fromJson(QByteArray::fromRawData(buffer.data(), length));
            total += document.isObject() ? length : 0;
        }
        struct stat status = {};
        if (::stat((bundle + "/disk.img").constData(), &status) == 0)
            total += status.st_blocks;
    }
    ::closedir(folder);
    return total;
}

double microsecondsOf(const std::function<void()> &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1000;
}

} // namespace

QJsonObject runLibraryBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption bundles(u"bundles"_s, u"Number of bundles."_s, u"N"_s, u"1000"_s);
    parser.addOption(bundles);
    parser.process(arguments);
    const int count = std::max(1, parser.value(bundles).toInt());

    const QTemporaryDir folder;
    const VMStorage storage(FileUrl::directory(folder.path()), FileManager::defaultManager());
    makeBundles(storage.rootDirectory(), count);

    constexpr int runs = 5;
    QList<double> loads;
    QList<double> scans;
    QList<double> plains;
    for (int run = -1; run < runs; ++run) {
        // A new manager each time: the model is cold, only the files' caches are warm.
        VMManager::Collaborators collaborators = VMManager::defaultCollaborators();
        collaborators.storage = storage;
        VMManager manager(collaborators);
        const double load = microsecondsOf([&] {
            const QCoro::Task<> task = manager.loadVirtualMachines();
            Q_ASSERT(task.isReady());
        });
        const double scan = microsecondsOf([&] { (void)storage.scanVirtualMachines(); });
        const double plain = microsecondsOf([&] { (void)readPlainly(folder.path().toUtf8()); });
        if (run < 0)
            continue; // the first round fills the caches
        loads.append(load / count);
        scans.append(scan / count);
        plains.append(plain / count);
    }
    return {
        {"benchmark"_L1, "library"_L1},
        {"bundles"_L1, count},
        {"microsecondsPerBundle"_L1, median(loads)},
        {"scanMicrosecondsPerBundle"_L1, median(scans)},
        {"plainMicrosecondsPerBundle"_L1, median(plains)},
        {"ratioToPlain"_L1, median(loads) / median(plains)},
    };
}
