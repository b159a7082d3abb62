#include "UI/Toolkit/Files/FileBrowser.h"
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
    void typedTextLeadsSomewhere();
    void goesUpToTheRoot();
    void staysWhenToldToGoNowhere();

private:
    TemporaryHost m_host;
};

void FileBrowserTest::typedTextLeadsSomewhere()
{
    m_host.write(u"images/a b.iso"_s, "image");
    ::mkfifo(m_host.path(u"pipe"_s).toLocal8Bit().constData(), 0600);
    const QString here = m_host.path();
    const QString images = m_host.path(u"images"_s);
    const QString missing = u"There is no such file or folder."_s;
    const QString none;
    for (const auto &[text, picksFolder, folder, pickedFile, problem] :
         {std::tuple(u"images"_s, false, images, none, none),
          {images + u'/', true, images, none, none},
          {u"images/.."_s, false, here, none, none},
          {u"~"_s, false, QDir::homePath(), none, none},
          {u"~/none"_s, false, here, none, missing},
          {u"images/a b.iso"_s, false, here, images + u"/a b.iso"_s, none},
          {u"images/a b.iso"_s, true, here, none, u"This is not a folder."_s},
          {u"pipe"_s, false, here, none, u"This is not a file."_s}}) {
        FileBrowser browser;
        browser.setProperty("picksFolder", picksFolder);
        browser.setFolder(QUrl::fromLocalFile(here));
        QSignalSpy picked(&browser, &FileBrowser::picked);
        browser.submit(text);
        QCOMPARE(browser.path(), folder);
        QCOMPARE(browser.problem(), problem);
        QCOMPARE(picked.value(0).value(0).toUrl().toLocalFile(), pickedFile);
        browser.setFolder(QUrl::fromLocalFile(images));
        QVERIFY(browser.problem().isEmpty());
    }
}

void FileBrowserTest::goesUpToTheRoot()
{
    FileBrowser browser;
    browser.setFolder(QUrl::fromLocalFile(m_host.path()));
    for (int steps = 0; browser.canGoUp() && steps < 50; ++steps)
        browser.goUp();
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
