#include "App/CommandLine.h"
#include "support/TestMain.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class CommandLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void argumentsAreUnderstoodOrRefused_data();
    void argumentsAreUnderstoodOrRefused();
    void filesAreFoundHoweverTheyAreSpelt();
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
    QTest::newRow("missing file") << QStringList{u"."_s, u"x.vm"_s} << ColorScheme::system << none
                                  << u"'x.vm' does not exist."_s;
    QTest::newRow("file elsewhere") << QStringList{u"https://example.org/x.iso"_s} << ColorScheme::system
                                    << none << u"'https://example.org/x.iso' is no file of this computer."_s;
    QTest::newRow("nothing as a file")
        << QStringList{QString()} << ColorScheme::system << none << u"'' is no file of this computer."_s;
    QTest::newRow("help before all") << QStringList{u"--help"_s, u"x"_s} << ColorScheme::system
                                     << u"Usage: kelvo [options] [file...]"_s << none;
    QTest::newRow("version") << QStringList{u"-v"_s} << ColorScheme::system
                             << u"kelvo "_s + QLatin1StringView(KELVO_VERSION) << none;
}

void CommandLineTest::argumentsAreUnderstoodOrRefused()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, outputPart);
    const CommandLine commandLine = CommandLine::parse(QStringList{u"kelvo"_s} + arguments, QDir::tempPath());
    QTEST(commandLine.colorScheme, "scheme");
    QTEST(commandLine.problem, "problem");
    QVERIFY2(commandLine.output.contains(outputPart), qPrintable(commandLine.output));
    QCOMPARE(commandLine.output.isEmpty(), outputPart.isEmpty());
}

void CommandLineTest::filesAreFoundHoweverTheyAreSpelt()
{
    const QTemporaryDir folder;
    for (const QString &name : {u"a b%20#1.iso"_s, u"--help"_s, u"x:y.iso"_s}) {
        const QString path = folder.filePath(name);
        QVERIFY(QFile(path).open(QIODevice::WriteOnly));
        const QUrl url = QUrl::fromLocalFile(path);
        for (const QString &spelling : {name, path, url.toString(QUrl::FullyEncoded)}) {
            const CommandLine commandLine =
                CommandLine::parse({u"kelvo"_s, u"--"_s, spelling}, folder.path());
            QCOMPARE(commandLine.problem, QString());
            QCOMPARE(commandLine.documents, QList({url}));
        }
    }
}

KELVO_TEST_MAIN(CommandLineTest)
#include "tst_commandline.moc"
