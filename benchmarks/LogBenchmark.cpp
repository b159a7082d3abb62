#include "LogBenchmark.h"

#include "Platform/SystemLog.h"
#include "Services/DiagnosticLogger.h"
#include "Statistics.h"

#include <QCommandLineParser>
#include <QElapsedTimer>

#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

class DiscardingLog final : public SystemLog
{
public:
    DiscardingLog()
        : SystemLog(u"benchmark"_s, u"benchmark"_s)
    {}
    void write(const QString &, Type) override {}
};

double entriesPerSecond(int threadCount)
{
    constexpr int entriesPerThread = 50'000;
    DiagnosticLogger logger(std::make_unique<DiscardingLog>());
    QElapsedTimer timer;
    timer.start();
    std::vector<std::jthread> threads(static_cast<std::size_t>(threadCount));
    for (std::jthread &thread : threads) {
        thread = std::jthread([&logger] {
            for (int entry = 0; entry < entriesPerThread; ++entry)
                logger.log(u"QEMU VM running on VNC port 5901"_s, LogLevel::info);
        });
    }
    threads.clear();
    return 1e9 * threadCount * entriesPerThread / static_cast<double>(timer.nsecsElapsed());
}

} // namespace

QJsonObject runLogBenchmark(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption threads(u"threads"_s, u"Number of threads."_s, u"T"_s, u"1"_s);
    parser.addOption(threads);
    parser.addHelpOption();
    parser.process(arguments);
    const int count = std::max(1, parser.value(threads).toInt());

    QList<double> rates;
    QList<double> singleRates;
    for (int run = 0; run < 5; ++run) {
        rates.append(entriesPerSecond(count));
        singleRates.append(entriesPerSecond(1));
    }
    return {
        {"benchmark"_L1, "log"_L1},
        {"threads"_L1, count},
        {"entriesPerSecond"_L1, median(rates)},
        {"ratioToOneThread"_L1, median(rates) / median(singleRates)},
    };
}
