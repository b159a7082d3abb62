#include "UI/Components/FileBrowser.h"
#include "support/TemporaryHost.h"
#include "support/TestMain.h"

#include <QDir>
#include <QSignalSpy>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

class FileBrowserTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void typedTextLeadsSomewhere_data();
    void typedTextLeadsSomewhere();
    void goesUpToTheRoot();
    void staysWhenToldToGoNowhere();

private:
    TemporaryHost m_host;
};

void FileBrowserTest::typedTextLeadsSomewhere_data()
{
    m_host.write(u"images/a b.iso"_s, "image");
    ::mkfifo(m_host.path(u"pipe"_s).toLocal8Bit().constData(), 0600);

    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("picksFolder");
    QTest::addColumn<QString>("folder"); // where it stands afterwards
    QTest::addColumn<QString>("picked");
    QTest::addColumn<QString>("problem");
    const QString here = m_host.path();
    const QString images = m_host.path(u"images"_s);
    const QString missing = u"There is no such file or folder."_s;
    const QString none;
    QTest::newRow("relative folder") << u"images"_s << false << images << none << none;
    QTest::newRow("absolute folder") << images + u"/"_s << true << images << none << none;
    QTest::newRow("parent") << u"images/.."_s << false << here << none << none;
    QTest::newRow("home") << u"~"_s << false << QDir::homePath() << none << none;
    QTest::newRow("below home") << u"~/none"_s << false << here << none << missing;
    QTest::newRow("file") << u"images/a b.iso"_s << false << here << m_host.path(u"images/a b.iso"_s) << none;
    QTest::newRow("file where a folder is wanted")
        << u"images/a b.iso"_s << true << here << none << u"This is not a folder."_s;
    QTest::newRow("pipe") << u"pipe"_s << false << here << none << u"This is not a file."_s;
    QTest::newRow("nothing there") << u"nothing"_s << false << here << none << missing;
}

void FileBrowserTest::typedTextLeadsSomewhere()
{
    QFETCH(const QString, text);
    QFETCH(const bool, picksFolder);
    QFETCH(const QString, picked);
    FileBrowser browser;
    browser.setProperty("picksFolder", picksFolder);
    browser.setFolder(QUrl::fromLocalFile(m_host.path()));
    QSignalSpy spy(&browser, &FileBrowser::picked);
    browser.submit(text);
    QTEST(browser.path(), "folder");
    QTEST(browser.problem(), "problem");
    QCOMPARE(spy.isEmpty() ? QString() : spy.first().first().toUrl().toLocalFile(), picked);
    browser.setFolder(QUrl::fromLocalFile(m_host.path(u"images"_s)));
    QVERIFY(browser.problem().isEmpty());
}

void FileBrowserTest::goesUpToTheRoot()
{
    FileBrowser browser;
    browser.setFolder(QUrl::fromLocalFile(m_host.path()));
    int steps = 0;
    for (; browser.canGoUp() && steps < 50; ++steps)
        browser.goUp();
    QVERIFY(steps > 0);
    QCOMPARE(browser.path(), u"/"_s);
    browser.goUp();
    QCOMPARE(browser.path(), u"/"_s);
}

void FileBrowserTest::staysWhenToldToGoNowhere()
{
    FileBrowser browser;
    browser.setFolder(QUrl::fromLocalFile(m_host.path()));
    const QSignalSpy spy(&browser, &FileBrowser::folderChanged);
    browser.setFolder({});
    browser.setFolder(QUrl(u"https://example.org/"_s));
    browser.setFolder(QUrl::fromLocalFile(m_host.path(u"gone"_s)));
    browser.setFolder(QUrl::fromLocalFile(m_host.path() + u'/'));
    QCOMPARE(spy.count(), 0);
    QCOMPARE(browser.path(), m_host.path());
}

KELVO_TEST_MAIN(FileBrowserTest)
#include "tst_filebrowser.moc"
