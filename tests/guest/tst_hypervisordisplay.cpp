#include "Platform/Hypervisor/DisplayChannel.h"
#include "UI/Components/VZVirtualMachineView.h"
#include "guest/GuestBundle.h"
#include "support/TestMain.h"

#include <QElapsedTimer>
#include <QQuickWindow>
#include <QSignalSpy>

#include <algorithm>

/// What a person sees of a real guest, and what it makes of keys: the firmware's shell answers to them.
class HypervisorDisplayTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsWhatIsTyped();
};

namespace {

constexpr QSize screenSize(1280, 800);
constexpr int bootTimeout = 90'000;

QImage picture(QQuickWindow &window)
{
    return window.grabWindow().convertToFormat(QImage::Format_RGB32);
}

bool isBlank(const QImage &image)
{
    QImage blank(image.size(), image.format());
    blank.fill(Qt::black);
    return image == blank;
}

/// Whether something is shown that has not changed for three seconds: the shell counts down once a second.
bool isWaitingForKeys(QQuickWindow &window)
{
    const QImage before = picture(window);
    QTest::qWait(3000);
    return !isBlank(before) && picture(window) == before;
}

double median(QList<double> values)
{
    std::ranges::sort(values);
    return values.at(values.size() / 2);
}

} // namespace

void HypervisorDisplayTest::showsWhatIsTyped()
{
    const GuestBundle bundle;
    VZVirtualMachine machine(bundle.configuration);
    bool isRunning = false;
    machine.start({}, [&isRunning](const std::exception_ptr &error) { isRunning = !error; });
    QTRY_VERIFY_WITH_TIMEOUT(isRunning, 30'000);

    QQuickWindow window;
    window.resize(screenSize);
    VZVirtualMachineView view(window.contentItem());
    view.setSize(screenSize);
    view.setVirtualMachine(&machine);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window, patience));
    view.forceActiveFocus();
    QTRY_COMPARE_WITH_TIMEOUT(view.implicitWidth(), 1280.0, bootTimeout);
    QTRY_VERIFY(view.hasKeyboard());
    QTRY_VERIFY_WITH_TIMEOUT(isWaitingForKeys(window), bootTimeout);

    // A client that does nothing but receive is as fast as the emulator lets it be.
    DisplayChannel bare(machine.openDisplay());
    bare.setWatched(true);
    QElapsedTimer clock;
    double arrived = 0;
    double shown = 0;
    connect(&bare, &DisplayChannel::updateReady, this, [&] {
        (void)bare.takeUpdate();
        bare.requestUpdate();
        if (arrived == 0)
            arrived = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    });
    connect(&window, &QQuickWindow::frameSwapped, this, [&] {
        if (shown == 0)
            shown = static_cast<double>(clock.nsecsElapsed()) / 1e6;
    });
    QTest::qWait(1000);

    const QImage before = picture(window);
    QList<double> arrivals;
    QList<double> showings;
    for (int i = 0; i < 15; ++i) {
        QTest::qWait(400);
        arrived = shown = 0;
        clock.start();
        QTest::keyClick(&window, Qt::Key_A);
        QTRY_VERIFY(arrived > 0 && shown > 0);
        arrivals += arrived;
        showings += shown;
    }
    QVERIFY(picture(window) != before);
    qInfo("key to update %.0f ms, to picture %.0f ms", median(arrivals), median(showings));
    // Two pictures of a 60 Hz screen.
    QVERIFY(!judgesTime() || median(showings) - median(arrivals) < 33);

    bool hasStopped = false;
    machine.stop([&hasStopped](const std::exception_ptr &) { hasStopped = true; });
    QTRY_VERIFY(hasStopped);
    QVERIFY(isBlank(picture(window)));
}

KELVO_GUI_TEST_MAIN(HypervisorDisplayTest)
#include "tst_hypervisordisplay.moc"
