#include "App/DocumentOpener.h"
#include "App/State/AppStage.h"
#include "support/TestMain.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

class DocumentOpenerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void machineIsFoundHoweverItsFolderIsSpelt();
    void imagesGoToTheWizard();
    void othersAreRefused();
    void documentsWaitForTheMachines();

private:
    void open(const QString &relative)
    {
        m_opener->open({QUrl::fromLocalFile(m_stage->host.path(relative))});
    }

    std::unique_ptr<AppStage> m_stage;
    AppState *m_state = nullptr;
    std::unique_ptr<DocumentOpener> m_opener;
    std::unique_ptr<QSignalSpy> m_consoles;
};

void DocumentOpenerTest::init()
{
    m_opener.reset();
    m_stage = std::make_unique<AppStage>();
    m_state = m_stage->state.get();
    m_stage->add(u"a"_s);
    m_state->load();
    m_opener = std::make_unique<DocumentOpener>(*m_state);
    m_consoles = std::make_unique<QSignalSpy>(m_state, &AppState::consoleRequested);
}

void DocumentOpenerTest::machineIsFoundHoweverItsFolderIsSpelt()
{
    VirtualMachine *vm = m_state->vmManager()->virtualMachines().constFirst();
    QVERIFY(
        QFile::link(FileUrl::path(vm->configuration().storageDirectory), m_stage->host.path(u"link.vm"_s)));
    for (const QString &path : {u"Virtual Machines/a.vm"_s, u"Virtual Machines/a.vm/"_s,
                                u"Virtual Machines/../Virtual Machines//a.vm"_s, u"link.vm"_s}) {
        m_state->setSelectedSection(SidebarSection::downloads);
        m_state->select(nullptr);
        m_consoles->clear();
        open(path);
        QCOMPARE(m_state->errorMessage(), QString());
        QCOMPARE(m_state->selectedVM(), vm);
        QCOMPARE(m_state->detailContent(), DetailContent::MachineList);
        QCOMPARE(m_consoles->count(), 1);
        QCOMPARE(m_consoles->constFirst().constFirst().toUuid(), vm->id());
        QCOMPARE(m_state->vmManager()->virtualMachines().size(), 1);
    }
}

void DocumentOpenerTest::imagesGoToTheWizard()
{
    for (const QString &name : {u"Win 11#.ISO"_s, u"disk.raw"_s}) {
        m_stage->host.write(name, "image");
        m_state->setShowingCreateVM(false);
        open(name);
        QVERIFY(m_state->showingCreateVM());
        QCOMPARE(m_state->proposedImage().toLocalFile(), m_stage->host.path(name));
    }
    QCOMPARE(m_state->errorMessage(), QString());
}

void DocumentOpenerTest::othersAreRefused()
{
    for (const auto &[document, problem] :
         {std::pair(u"file:///none.iso"_s, u"“/none.iso” does not exist."_s),
          {u"https://example.org/x.iso"_s, u"“https://example.org/x.iso” does not exist."_s},
          {u"file:///tmp"_s, u"tmp"_s},
          {u"file:///etc/passwd"_s, u"is neither a virtual machine nor an installation image."_s}}) {
        m_opener->open({QUrl(document)});
        const QString message = m_state->errorMessage();
        QVERIFY2(message.contains(problem), qPrintable(message));
        QVERIFY(m_consoles->isEmpty() && !m_state->showingCreateVM());
    }
}

void DocumentOpenerTest::documentsWaitForTheMachines()
{
    AppStage later([this](VMManager::Collaborators &collaborators) {
        collaborators.storage = VMStorage(m_stage->host.root(), FileManager::defaultManager());
    });
    DocumentOpener opener(*later.state);
    const QSignalSpy consoles(later.state.get(), &AppState::consoleRequested);
    opener.open({QUrl::fromLocalFile(m_stage->host.path(u"Virtual Machines/a.vm"_s))});
    QVERIFY(consoles.isEmpty() && later.state->errorMessage().isEmpty());
    later.state->load();
    QTRY_COMPARE(consoles.count(), 1);
    later.state->load();
    QTest::qWait(20);
    QCOMPARE(consoles.count(), 1);
}

KELVO_TEST_MAIN(DocumentOpenerTest)
#include "tst_documentopener.moc"
