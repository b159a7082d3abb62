#include "LibraryBenchmark.h"

#include "LibraryOnDisk.h"
#include "Platform/FileManager.h"
#include "Platform/FileUrl.h"
#include "Statistics.h"
#include "Virtualization/Backend/VMBackendController.h"
#include "Virtualization/VMManager.h"

#include <QCommandLineParser>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>

using namespace Qt::StringLiterals;

namespace {

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
    parser.addHelpOption();
    parser.process(arguments);
    const int count = std::max(1, parser.value(bundles).toInt());

    const QTemporaryDir folder;
    const VMStorage storage(FileUrl::directory(folder.path()), FileManager::defaultManager());
    makeLibrary(storage.rootDirectory(), count);

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
        const double plain = microsecondsOf([&] { (void)readPlainly(folder.path()); });
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
