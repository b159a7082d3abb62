#include "App/CommandLine.h"
#include "support/TestMain.h"

#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class CommandLineTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void optionsAreUnderstood();
    void mistakesAreNamed();
    void filesAreFoundHoweverTheyAreSpelt();

private:
    static CommandLine parse(const QStringList &arguments)
    {
        return CommandLine::parse(QStringList{u"kelvo"_s} + arguments, QDir::tempPath());
    }
};

void CommandLineTest::optionsAreUnderstood()
{
    QCOMPARE(parse({}).colorScheme, ColorScheme::system);
    QCOMPARE(parse({u"--color-scheme=dark"_s}).colorScheme, ColorScheme::dark);
    QCOMPARE(parse({u"--color-scheme"_s, u"light"_s}).colorScheme, ColorScheme::light);
    const CommandLine help = parse({u"--help"_s, u"no such file"_s});
    QVERIFY2(help.output.startsWith(u"Usage: kelvo [options] [file...]"_s), qPrintable(help.output));
    QCOMPARE(help.problem, QString());
    QCOMPARE(parse({u"-v"_s}).output, u"kelvo %1\n"_s.arg(QLatin1StringView(KELVO_VERSION)));
}

void CommandLineTest::mistakesAreNamed()
{
    const QList<std::pair<QStringList, QString>> mistakes = {
        {{u"--color-scheme=Dark"_s}, u"Unknown color scheme 'Dark': use light, dark or system."_s},
        {{u"--colour"_s}, u"Unknown option 'colour'."_s},
        {{u"--color-scheme"_s}, u"Missing value after '--color-scheme'."_s},
        {{u"."_s, u"x.vm"_s}, u"'x.vm' does not exist."_s},
        {{u"https://example.org/x.iso"_s}, u"'https://example.org/x.iso' is no file of this computer."_s},
        {{QString()}, u"'' is no file of this computer."_s},
    };
    for (const auto &[arguments, problem] : mistakes) {
        QCOMPARE(parse(arguments).problem, problem);
        QCOMPARE(parse(arguments).output, QString());
    }
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
