#include "Platform/FileUrl.h"
#include "UI/Console/SerialConsole.h"
#include "support/TestMain.h"

#include <QFile>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

class SerialConsoleTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void terminalShowsWhatIsOnItsScreen();
    void terminalKeepsWhatHasLeftItsScreen();
    void fileIsFollowedThroughAllItsLives();

private:
    void write(QIODevice::OpenMode mode, const QByteArray &bytes) const;

    QTemporaryDir m_folder;
    QString m_path = m_folder.filePath(u"serial.log"_s);
};

void SerialConsoleTest::write(QIODevice::OpenMode mode, const QByteArray &bytes) const
{
    QFile file(m_path);
    QVERIFY(file.open(QIODevice::WriteOnly | mode));
    QCOMPARE(file.write(bytes), bytes.size());
}

void SerialConsoleTest::terminalShowsWhatIsOnItsScreen()
{
    qsizetype pieceBytes = 1;
    const auto shown = [&pieceBytes](const QByteArray &bytes) {
        TerminalText terminal;
        for (qsizetype begin = 0; begin < bytes.size(); begin += pieceBytes)
            terminal.feed(bytes.mid(begin, pieceBytes));
        return terminal.text();
    };
    QCOMPARE(shown(""), QString());
    QCOMPARE(shown("one\r\ntwo  \r\n\r\n"), u"one\ntwo"_s);
    QCOMPARE(shown("10 %\r100 %"), u"100 %"_s);
    for (; pieceBytes < 8; ++pieceBytes)
        QCOMPARE(shown("gone\x1b[2J\x1b[2;3H\x1b[1;44m┌日┐\x1b[0m"), u"\n  ┌日┐"_s);
    QCOMPARE(shown("login\x1b[?1049h\x1b[Hmenu\x1b[?1049l"), u"login"_s);
    QCOMPARE(shown("\xff\xfe?"), u"\ufffd\ufffd?"_s);
}

void SerialConsoleTest::terminalKeepsWhatHasLeftItsScreen()
{
    TerminalText terminal;
    for (int line = 0; line < 5000; ++line)
        terminal.feed("line " + QByteArray::number(line) + "\r\n");
    const QStringList lines = terminal.text().split(u'\n');
    QCOMPARE(lines.last(), u"line 4999"_s);
    QCOMPARE(lines.size(), TerminalText::maximumHistory + 24);
    terminal.reset();
    QCOMPARE(terminal.text(), QString());
}

void SerialConsoleTest::fileIsFollowedThroughAllItsLives()
{
    SerialConsole console;
    console.setActive(true);
    console.setFile(FileUrl::file(m_path));
    QCOMPARE(console.text(), QString()); // there is none
    write(QIODevice::Truncate, "boot");
    QTRY_COMPARE_WITH_TIMEOUT(console.text(), u"boot"_s, patience);
    write(QIODevice::Append, "ed");
    QTRY_COMPARE_WITH_TIMEOUT(console.text(), u"booted"_s, patience);
    write(QIODevice::Truncate, "anew");
    QTRY_COMPARE_WITH_TIMEOUT(console.text(), u"anew"_s, patience);

    console.setActive(false);
    write(QIODevice::Truncate, "a longer life");
    console.setActive(true);
    QCOMPARE(console.text(), u"a longer life"_s);
    write(QIODevice::Append, QByteArray(1 << 20, 'x') + "\r\nend");
    QTRY_VERIFY_WITH_TIMEOUT(console.text().endsWith(u"\nend"_s), patience);
    QVERIFY(!console.text().contains(u"life"_s));
}

KELVO_TEST_MAIN(SerialConsoleTest)
#include "tst_serialconsole.moc"
