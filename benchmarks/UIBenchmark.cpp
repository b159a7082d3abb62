#include "UIBenchmark.h"

#include "LibraryOnDisk.h"
#include "Platform/FileUrl.h"
#include "Platform/LocalizedError.h"
#include "Statistics.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QJsonDocument>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

constexpr int runs = 5;
constexpr int patience = 120'000;

double now()
{
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// What one window measured of itself, its first frame counted from the start of its process.
QJsonObject runWindow(const QString &program, const QString &home)
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, home);
    environment.insert(u"QT_QUICK_BACKEND"_s, u"software"_s);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    const double start = now();
    process.start(QCoreApplication::applicationFilePath(), {u"ui-window"_s, program, home});
    if (!process.waitForFinished(patience) || process.exitCode() != 0)
        throw LocalizedError(u"The window “%1” did not come to its end."_s.arg(program));
    QJsonObject result = QJsonDocument::fromJson(process.readAllStandardOutput()).object();
    result.insert("firstFrame"_L1, result.value("firstFrame"_L1).toDouble() - start);
    return result;
}

struct Figures
{
    void add(const QJsonObject &result)
    {
        firstFrame.append(result.value("firstFrame"_L1).toDouble());
        residentMebibytes.append(result.value("residentMebibytes"_L1).toDouble());
        longestWheelFrame.append(result.value("longestWheelFrame"_L1).toDouble());
        longestDragFrame.append(result.value("longestDragFrame"_L1).toDouble());
    }

    [[nodiscard]] QJsonObject medians() const
    {
        return {
            {"firstFrameMilliseconds"_L1, median(firstFrame)},
            {"residentMebibytes"_L1, median(residentMebibytes)},
            {"longestWheelFrameMilliseconds"_L1, median(longestWheelFrame)},
            {"longestDragFrameMilliseconds"_L1, median(longestDragFrame)},
        };
    }

    QList<double> firstFrame;
    QList<double> residentMebibytes;
    QList<double> longestWheelFrame;
    QList<double> longestDragFrame;
};

} // namespace

QJsonObject runUIBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption machines(u"machines"_s, u"Number of machines."_s, u"N"_s, u"10"_s);
    parser.addOption(machines);
    parser.addHelpOption();
    parser.process(arguments);
    const int count = std::max(1, parser.value(machines).toInt());

    const QTemporaryDir home;
    makeLibrary(FileUrl::directory(home.filePath(u"Virtual Machines"_s)), count);
    Figures shipped;
    Figures bare;
    for (int run = -1; run < runs; ++run) {
        const QJsonObject ours = runWindow(u"shipped"_s, home.path());
        const QJsonObject theirs = runWindow(u"bare"_s, home.path());
        if (run < 0)
            continue; // the first round fills the caches
        shipped.add(ours);
        bare.add(theirs);
    }
    return {
        {"benchmark"_L1, "ui"_L1},
        {"machines"_L1, count},
        {"shipped"_L1, shipped.medians()},
        {"bare"_L1, bare.medians()},
        {"firstFrameRatio"_L1, median(shipped.firstFrame) / median(bare.firstFrame)},
        {"residentRatio"_L1, median(shipped.residentMebibytes) / median(bare.residentMebibytes)},
    };
}
