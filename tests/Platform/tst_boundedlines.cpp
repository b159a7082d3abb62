#include "Platform/BoundedLines.h"
#include "support/TestMain.h"

using namespace Qt::StringLiterals;

class TestBoundedLines : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cutsAStreamWhereverItIsSplit();
    void letsTheFirstAndTheNewestLinesThrough();
    void keepsLittleOfAnEndlessLine();
};

void TestBoundedLines::cutsAStreamWhereverItIsSplit()
{
    const QByteArray stream = u"\n one\r\n\r\n\nGrüße\ntwo"_s.toUtf8();
    for (qsizetype step = 1; step <= stream.size(); ++step) {
        BoundedLines lines;
        QStringList reported;
        for (qsizetype at = 0; at < stream.size(); at += step)
            reported += lines.append(stream.mid(at, step));
        reported += lines.finish();
        QCOMPARE(reported, QStringList({u"one"_s, u"Grüße"_s, u"two"_s}));
    }
}

void TestBoundedLines::letsTheFirstAndTheNewestLinesThrough()
{
    BoundedLines lines;
    QStringList reported;
    for (int i = 1; i <= 5000; ++i)
        reported += lines.append("line " + QByteArray::number(i) + '\n');
    QCOMPARE(reported.size(), BoundedLines::firstLineCount);
    QCOMPARE(reported.last(), u"line 20"_s);
    QCOMPARE(lines.finish(), (QStringList{u"(4979 lines left out)"_s, u"line 5000"_s}));
}

void TestBoundedLines::keepsLittleOfAnEndlessLine()
{
    BoundedLines lines;
    const QByteArray block(65536, 'x');
    for (int i = 0; i < 100; ++i)
        QVERIFY(lines.append(block).isEmpty());
    QCOMPARE(lines.append("\nnext\n"),
             (QStringList{QString(BoundedLines::maximumLineBytes, u'x'), u"next"_s}));
}

KELVO_TEST_MAIN(TestBoundedLines)
#include "tst_boundedlines.moc"
