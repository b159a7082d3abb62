#include "App/CommandLine.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

class CommandLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void argumentsAreUnderstoodOrRefused_data();
    void argumentsAreUnderstoodOrRefused();
};

void CommandLineTest::argumentsAreUnderstoodOrRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<ColorScheme>("scheme");
    QTest::addColumn<QString>("outputPart");
    QTest::addColumn<QString>("problem");
    const auto none = QString();
    QTest::newRow("nothing") << QStringList() << ColorScheme::system << none << none;
    QTest::newRow("dark") << QStringList{u"--color-scheme=dark"_s} << ColorScheme::dark << none << none;
    QTest::newRow("light, apart") << QStringList{u"--color-scheme"_s, u"light"_s} << ColorScheme::light
                                  << none << none;
    QTest::newRow("no such scheme") << QStringList{u"--color-scheme=Dark"_s} << ColorScheme::system << none
                                    << u"Unknown color scheme 'Dark': use light, dark or system."_s;
    QTest::newRow("no such option") << QStringList{u"--colour"_s} << ColorScheme::system << none
                                    << u"Unknown option 'colour'."_s;
    QTest::newRow("value missing") << QStringList{u"--color-scheme"_s} << ColorScheme::system << none
                                   << u"Missing value after '--color-scheme'."_s;
    QTest::newRow("file") << QStringList{u"x.vm"_s} << ColorScheme::system << none
                          << u"Unexpected argument 'x.vm'."_s;
    QTest::newRow("help before all") << QStringList{u"--help"_s, u"x"_s} << ColorScheme::system
                                     << u"--color-scheme"_s << none;
    QTest::newRow("version") << QStringList{u"-v"_s} << ColorScheme::system
                             << u"kelvo "_s + QLatin1StringView(KELVO_VERSION) << none;
}

void CommandLineTest::argumentsAreUnderstoodOrRefused()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, outputPart);
    const CommandLine commandLine = CommandLine::parse(QStringList{u"kelvo"_s} + arguments);
    QTEST(commandLine.colorScheme, "scheme");
    QTEST(commandLine.problem, "problem");
    QVERIFY2(commandLine.output.contains(outputPart), qPrintable(commandLine.output));
    QCOMPARE(commandLine.output.isEmpty(), outputPart.isEmpty());
}

KELVO_TEST_MAIN(CommandLineTest)
#include "tst_commandline.moc"
