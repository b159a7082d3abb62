#include "Platform/SystemLog.h"
#include "Services/DiagnosticLogger.h"
#include "support/TestMain.h"

#include <QRegularExpression>

#include <thread>

using namespace Qt::StringLiterals;

namespace {

class RecordingLog final : public SystemLog
{
public:
    explicit RecordingLog(QStringList *lines)
        : SystemLog(u"test"_s, u"test"_s)
        , m_lines(lines)
    {}
    void write(const QString &message, Type type) override
    {
        if (m_lines)
            m_lines->append((type == Type::Error ? u"error: "_s : u"info: "_s) + message);
    }

private:
    QStringList *m_lines;
};

} // namespace

class DiagnosticLoggerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void entriesHaveTagAndTimeAndTheHostGetsTheMessage();
    void threadsLoseNothingButTheOldest();
};

void DiagnosticLoggerTest::entriesHaveTagAndTimeAndTheHostGetsTheMessage()
{
    QStringList hostLines;
    DiagnosticLogger logger(std::make_unique<RecordingLog>(&hostLines));
    logger.log(u"QEMU VM stopped"_s, LogLevel::info);
    logger.log(u" two\nlines "_s, LogLevel::warning);
    logger.log(u"x"_s, LogLevel::error);
    static const QRegularExpression form(
        u"^\\[INFO\\] \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ QEMU VM stopped\n"
        "\\[WARN\\] [-0-9T:]{19}Z  two\nlines \n\\[ERROR\\] [-0-9T:]{19}Z x$"_s);
    QVERIFY2(form.match(logger.formattedLog()).hasMatch(), qPrintable(logger.formattedLog()));
    QCOMPARE(hostLines, QStringList({u"info: QEMU VM stopped"_s, u"error:  two\nlines "_s, u"error: x"_s}));
    logger.clear();
    QCOMPARE(logger.formattedLog(), QString());
}

void DiagnosticLoggerTest::threadsLoseNothingButTheOldest()
{
    DiagnosticLogger logger(std::make_unique<RecordingLog>(nullptr));
    logger.log(u"left out"_s, LogLevel::info);
    constexpr int perThread = 125; // of four: five hundred stay
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&logger, thread] {
            for (int number = 0; number < perThread; ++number) {
                logger.log(u"%1:%2"_s.arg(thread).arg(number), LogLevel::info);
                (void)logger.formattedLog();
            }
        });
    }
    threads.clear();

    QMap<QString, int> next;
    for (const QString &entry : logger.formattedLog().split(u'\n')) {
        const QStringList parts = entry.section(u' ', -1).split(u':');
        QCOMPARE(parts.value(1).toInt(), next[parts[0]]++);
    }
    QCOMPARE(next.values(), QList<int>(4, perThread));
}

KELVO_TEST_MAIN(DiagnosticLoggerTest)
#include "tst_diagnosticlogger.moc"
