#include "App/KelvoApp.h"
#include "App/State/AppStage.h"
#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/Display/FloodingServer.h"
#include "support/EventLoopBeat.h"
#include "support/ProcessCensus.h"
#include "support/TestMain.h"

#include <QQuickWindow>
#include <QRandomGenerator>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr int width = 160;
constexpr int height = 100;

#ifdef __SANITIZE_ADDRESS__
constexpr qsizetype allowedGrowth = qsizetype{1} << 40; // freed memory is kept from being used again
#else
constexpr qsizetype allowedGrowth = qsizetype{8} << 20;
#endif

} // namespace

/// Consoles that come and go while their guests' pictures arrive as fast as they are taken.
class ConsolesTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void manyLeaveNothingBehind();
    void comeAndGoWhileFramesArrive();

private:
    void open(int machines);
    QPointer<QQuickWindow> show(VirtualMachine *vm);
    [[nodiscard]] QList<VirtualMachine *> machines() const
    {
        return m_app->state().vmManager()->virtualMachines();
    }

    FloodingServer m_server{serverstream::handshake(width, height),
                            serverstream::update(width, height, QByteArray::fromHex("2060c000")), 10ms};
    std::unique_ptr<AppStage> m_stage;
    std::unique_ptr<KelvoApp> m_app;
    qint64 m_frames = 0;
};

void ConsolesTest::cleanup()
{
    m_app.reset();
    m_stage.reset();
}

/// An application in which so many machines run, all with the same picture.
void ConsolesTest::open(int machines)
{
    m_stage = std::make_unique<AppStage>();
    for (int number = 0; number < machines; ++number)
        m_stage->add(u"machine %1"_s.arg(number));
    m_app = std::make_unique<KelvoApp>(std::move(m_stage->state), m_stage->host.path(u"windows.ini"_s));
    QVERIFY(m_app->start());
    VMManager &manager = *m_app->state().vmManager();
    for (VirtualMachine *vm : manager.virtualMachines()) {
        VMConfiguration configuration = vm->configuration();
        configuration.vncPort = m_server.port();
        vm->setConfiguration(configuration);
        finish(manager.start(vm));
    }
    m_frames = 0;
}

QPointer<QQuickWindow> ConsolesTest::show(VirtualMachine *vm)
{
    const bool isNew = !m_app->consoleWindow(vm->id());
    m_app->showConsole(vm->id());
    QQuickWindow *window = m_app->consoleWindow(vm->id());
    if (isNew)
        connect(window, &QQuickWindow::frameSwapped, this, [this] { ++m_frames; });
    return window;
}

void ConsolesTest::manyLeaveNothingBehind()
{
    open(1);
    VirtualMachine *vm = machines().first();
    const auto round = [&] {
        const QPointer<QQuickWindow> window = show(vm);
        const qint64 enough = m_frames + 10;
        QTRY_VERIFY(m_frames >= enough);
        window->close();
        QTRY_VERIFY(!window);
    };
    const int rounds = isSoak() ? 500 : 25;
    for (int number = 0; number < 8; ++number)
        round(); // what is made once and kept
    QTRY_COMPARE(m_server.clients(), 0);
    const ProcessCensus before = ProcessCensus::take();
    const qsizetype bytesBefore = residentBytes();
    for (int number = 0; number < rounds; ++number)
        round();
    QTRY_COMPARE(m_server.clients(), 0);
    // Threads of the first rounds may have been about to end.
    QTRY_VERIFY(ProcessCensus::take().threads <= before.threads);
    QTRY_VERIFY(ProcessCensus::take().descriptors <= before.descriptors);
    const qsizetype growth = residentBytes() - bytesBefore;
    qInfo("%d consoles, %lld frames: %lld KiB more", rounds, static_cast<long long>(m_frames),
          static_cast<long long>(growth / 1024));
    QVERIFY2(!isSoak() || growth < allowedGrowth, qPrintable(QString::number(growth)));
}

void ConsolesTest::comeAndGoWhileFramesArrive()
{
    constexpr int machineCount = 50;
    open(machineCount);
    QRandomGenerator random(17);
    const EventLoopBeat beat;
    for (int step = 0; step < 3 * machineCount; ++step) {
        VirtualMachine *vm = machines().at(random.bounded(machineCount));
        if (QQuickWindow *window = m_app->consoleWindow(vm->id()))
            window->close();
        else
            show(vm);
        QTest::qWait(random.bounded(20));
    }
    QTRY_VERIFY(m_frames > machineCount);
    qInfo("%lld frames, the event loop paused for at most %lld ms", static_cast<long long>(m_frames),
          static_cast<long long>(beat.longestPause().count()));
    for (VirtualMachine *vm : machines())
        if (QQuickWindow *window = m_app->consoleWindow(vm->id()))
            window->close();
    QTRY_COMPARE(m_server.clients(), 0);
}

KELVO_GUI_TEST_MAIN(ConsolesTest)
#include "tst_consoles.moc"
