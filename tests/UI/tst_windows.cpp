#include "App/KelvoApp.h"
#include "App/State/AppStage.h"
#include "Models/VMConfiguration.h"
#include "Platform/FileUrl.h"
#include "UI/Toolkit/Controls/HintFinder.h"
#include "UI/Toolkit/Style/Appearance.h"
#include "support/TestMain.h"

#include <QDir>
#include <QQuickItem>
#include <QQuickWindow>
#include <QScopeGuard>
#include <QScreen>
#include <QSettings>
#include <QStandardPaths>
#include <QTcpServer>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QStringList warnings;
QtMessageHandler previousHandler = nullptr;

void collectWarnings(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    const bool isOfThePlatform = text == u"This plugin does not support raise()";
    if ((type == QtWarningMsg || type == QtCriticalMsg) && !isOfThePlatform)
        warnings.append(text);
    previousHandler(type, context, text);
}

/// The visible item of that text, anywhere below.
QQuickItem *findItem(QQuickItem *root, const QString &text, bool isEnabled = true)
{
    for (QQuickItem *child : root->childItems()) {
        if (!child->isVisible())
            continue;
        if (child->property("text").toString() == text && child->isEnabled() == isEnabled)
            return child;
        if (QQuickItem *found = findItem(child, text, isEnabled))
            return found;
    }
    return nullptr;
}

QQuickItem *findItem(const QQuickWindow *window, const QString &text, bool isEnabled = true)
{
    return findItem(window->contentItem(), text, isEnabled);
}

QPoint centerOf(const QQuickItem &item)
{
    return item.mapToScene(QPointF(item.width() / 2, item.height() / 2)).toPoint();
}

void click(QQuickWindow *window, const QString &text)
{
    QQuickItem *item = nullptr;
    QVERIFY2(QTest::qWaitFor([&] { return (item = findItem(window, text)) != nullptr; }, patience),
             qPrintable(u"no visible, enabled item reads "_s + text));
    // What has just appeared gets its place with the next frame.
    QSignalSpy frames(window, &QQuickWindow::frameSwapped);
    window->update();
    QVERIFY(frames.wait(patience));
    QTest::mouseClick(window, Qt::LeftButton, Qt::NoModifier, centerOf(*item));
}

} // namespace

/// Every window in every state, without a warning of the QML engine; what a person does goes through real
/// events.
class WindowsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void mainWindowShowsEverySection();
    void wizardGoesFromFirstToLastStep();
    void wizardTakesAnImageFromThePanel();
    void wizardTellsWhatWindowsNeeds();
    void alertShowsTheTextUntilItIsAnswered();
    void consoleFollowsItsMachine();
    void stoppingIsQuestionedWhereItWasAskedFor();
    void cardsAreSelectedAndCommanded();
    void hintsExplainWhatNeedsThem();
    void cardsHoldTheirButtonsWithLargeText();
    void cardsShareTheWidth();
    void enteringTheListSelectsNothing();
    void scrolledCardsStayInTheList();
    void lastWindowAsksAsWell();
    void sizesAreRememberedWithinTheScreen();

private:
    [[nodiscard]] QQuickWindow *mainWindow() const { return m_app->mainWindow(); }
    [[nodiscard]] VirtualMachine *machine(int number) const
    {
        return m_app->state().vmManager()->virtualMachines().at(number);
    }

    std::unique_ptr<AppStage> m_stage;
    std::unique_ptr<KelvoApp> m_app;
};

void WindowsTest::initTestCase()
{
    previousHandler = qInstallMessageHandler(collectWarnings);
}

void WindowsTest::init()
{
    warnings.clear();
    m_stage = std::make_unique<AppStage>();
    m_stage->host.write(u"setup.iso"_s, "image");
    m_stage->add(u"first"_s);
    m_stage->add(u"second"_s, m_stage->host.path(u"setup.iso"_s));
    m_app = std::make_unique<KelvoApp>(std::move(m_stage->state), m_stage->host.path(u"windows.ini"_s));
    QVERIFY(m_app->start());
    QVERIFY(QTest::qWaitForWindowExposed(mainWindow(), patience));
}

void WindowsTest::cleanup()
{
    QTest::qWait(50);
    m_app.reset();
    m_stage.reset();
    QCOMPARE(warnings, QStringList());
}

void WindowsTest::mainWindowShowsEverySection()
{
    for (const ColorScheme scheme : {ColorScheme::light, ColorScheme::dark}) {
        Appearance::shared().setOverride(scheme);
        for (const SidebarSection section : allCases<SidebarSection>) {
            m_app->state().setSelectedSection(section);
            m_app->state().select(section == SidebarSection::settings ? machine(0) : nullptr);
            QTest::qWait(20);
        }
        m_app->state().select(nullptr);
        QTest::qWait(20);
    }
    Appearance::shared().setOverride(ColorScheme::system);
    m_app->state().setSelectedSection(SidebarSection::running);
    QTRY_VERIFY(findItem(mainWindow(), u"No Virtual Machines"_s));
    QCOMPARE(mainWindow()->title(), u"Running"_s);
    QTest::keyClick(mainWindow(), Qt::Key_Comma, Qt::ControlModifier);
    QTRY_VERIFY(findItem(m_app->settingsWindow(), u"Copy Diagnostics"_s));
}

void WindowsTest::wizardGoesFromFirstToLastStep()
{
    const QString bundle = FileUrl::path(VMConfiguration::defaultStorageRoot()) + u"/Linux ARM64.vm"_s;
    const auto removeBundle = qScopeGuard([&] { QDir(bundle).removeRecursively(); });
    QVERIFY(QDir().mkpath(bundle + u"/precious"_s));
    m_app->state().setSelectedSection(SidebarSection::downloads);
    QTest::keyClick(mainWindow(), Qt::Key_N, Qt::ControlModifier);
    QVERIFY(m_app->state().showingCreateVM());
    click(mainWindow(), u"Linux ARM64"_s);
    QTest::keyClick(mainWindow(), Qt::Key_Return);
    click(mainWindow(), u"Existing VM disk"_s);
    click(mainWindow(), u"Continue"_s);
    click(mainWindow(), u"Continue"_s);
    QTRY_VERIFY(findItem(mainWindow(), u"Choose Location…"_s));
    click(mainWindow(), u"Back"_s);
    QTest::keyClick(mainWindow(), Qt::Key_Return);
    QTest::keyClick(mainWindow(), Qt::Key_Return);
    QTRY_VERIFY(findItem(mainWindow(), u"Summary"_s));
    QTest::keyClick(mainWindow(), Qt::Key_Return); // its folder is taken
    QTRY_VERIFY(findItem(mainWindow(), u"Could Not Create VM"_s));
    QTest::keyClick(mainWindow(), Qt::Key_Return);
    QTRY_VERIFY(!findItem(mainWindow(), u"Could Not Create VM"_s));
    QVERIFY(m_app->state().showingCreateVM());
    QCOMPARE(QDir(bundle).entryList(QDir::NoDotAndDotDot | QDir::AllEntries), QStringList(u"precious"_s));
    QTest::keyClick(mainWindow(), Qt::Key_Escape);
    QTRY_VERIFY(!m_app->state().showingCreateVM());
}

void WindowsTest::wizardTakesAnImageFromThePanel()
{
    const QDir downloads(QStandardPaths::writableLocation(QStandardPaths::DownloadLocation));
    QVERIFY(downloads.mkpath(u"."_s));
    QFile image(downloads.filePath(u"setup.iso"_s));
    QVERIFY(image.open(QFile::WriteOnly));
    m_app->state().setShowingCreateVM(true);
    click(mainWindow(), u"Continue"_s);
    click(mainWindow(), u"Choose ISO…"_s);
    click(mainWindow(), u"setup.iso"_s);
    click(mainWindow(), u"Open"_s);
    QTRY_VERIFY(!findItem(mainWindow(), u"Open"_s));
    QTRY_VERIFY(findItem(mainWindow(), u"setup.iso"_s));
}

void WindowsTest::wizardTellsWhatWindowsNeeds()
{
    m_app->state().setShowingCreateVM(true);
    click(mainWindow(), u"Continue"_s);
    click(mainWindow(), u"What Windows needs here…"_s);
    const QQuickItem *heading = nullptr;
    QTRY_VERIFY((heading = findItem(mainWindow(), u"Secure Boot"_s)));
    const qreal place = heading->mapToScene({}).y();
    const QPoint middle(mainWindow()->width() / 2, mainWindow()->height() / 2);
    QWheelEvent wheel(middle, mainWindow()->mapToGlobal(middle), {}, QPoint(0, -120), Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(mainWindow(), &wheel);
    QTRY_VERIFY(heading->mapToScene({}).y() < place);
    QTest::keyClick(mainWindow(), Qt::Key_Return);
    QTRY_VERIFY(!findItem(mainWindow(), u"Secure Boot"_s));
    QVERIFY(m_app->state().showingCreateVM());
}

void WindowsTest::alertShowsTheTextUntilItIsAnswered()
{
    m_app->state().setErrorMessage(u"first text"_s);
    QTRY_VERIFY(findItem(mainWindow(), u"first text"_s));
    m_app->state().setErrorMessage(u"second text"_s);
    QTRY_VERIFY(findItem(mainWindow(), u"second text"_s));
    click(mainWindow(), u"OK"_s);
    QTRY_VERIFY(m_app->state().errorMessage().isEmpty());
    QTRY_VERIFY(!findItem(mainWindow(), u"OK"_s));
    m_app->state().setErrorMessage(u"third text"_s);
    QTRY_VERIFY(findItem(mainWindow(), u"third text"_s));
    QTest::keyClick(mainWindow(), Qt::Key_Escape);
    QTRY_VERIFY(m_app->state().errorMessage().isEmpty());
}

void WindowsTest::consoleFollowsItsMachine()
{
    QTcpServer silentDisplay;
    QVERIFY(silentDisplay.listen(QHostAddress::LocalHost));
    VirtualMachine *vm = machine(0);
    VMConfiguration configuration = vm->configuration();
    configuration.vncPort = silentDisplay.serverPort();
    vm->setConfiguration(configuration);
    m_app->state().vmManager()->saveConfiguration(*vm);
    m_app->state().showConsole(vm);
    QPointer<QQuickWindow> console = m_app->consoleWindow(vm->id());
    QVERIFY(console && QTest::qWaitForWindowExposed(console, patience));
    QCOMPARE(console->title(), vm->name());
    m_app->state().showConsole(vm);
    QCOMPARE(m_app->consoleWindow(vm->id()), console.data());

    click(console, u"Start"_s);
    QTRY_COMPARE(vm->state(), VMState::running);
    QTRY_VERIFY(findItem(console, u"Connecting to VM display…"_s));
    auto &controller = dynamic_cast<FakeController &>(m_app->state().vmManager()->controller(*vm));
    controller.failingCall = u"pause"_s;
    click(console, u"Pause"_s);
    QTRY_VERIFY(findItem(console, u"pause failed."_s));
    QCOMPARE(m_app->state().errorMessage(), QString()); // the main window may be closed
    click(console, u"OK"_s);
    QTRY_VERIFY(!findItem(console, u"pause failed."_s));
    controller.failingCall.clear();
    QSignalSpy news(m_app.get(), &KelvoApp::newsArrived);
    controller.change(VMState::poweredOff);
    QTRY_VERIFY(findItem(console, u"Virtual Machine is Off"_s));
    QCOMPARE(news.count(), 0); // it is in front
    mainWindow()->requestActivate();
    QVERIFY(QTest::qWaitForWindowActive(mainWindow(), patience));
    click(console, u"Start"_s);
    QTRY_COMPARE(vm->state(), VMState::running);
    controller.change(VMState::error, u"It crashed."_s);
    QCOMPARE(news.value(0).mid(1), QVariantList({vm->name(), u"It crashed."_s}));

    m_app->state().load(); // other objects for the same machines
    QTest::qWait(20);
    machine(0)->setLastError(u"it broke"_s);
    QTRY_VERIFY(findItem(console, u"it broke"_s));
}

void WindowsTest::stoppingIsQuestionedWhereItWasAskedFor()
{
    VirtualMachine *vm = machine(0);
    auto &controller = dynamic_cast<FakeController &>(m_app->state().vmManager()->controller(*vm));
    const QString question = u"Stop “first”?"_s;
    const QString overdue = u"“first” Has Not Shut Down"_s;
    click(mainWindow(), u"Start"_s);
    QTRY_COMPARE(vm->state(), VMState::running);
    click(mainWindow(), u"Stop"_s);
    QTRY_VERIFY(findItem(mainWindow(), question));
    QTest::keyClick(mainWindow(), Qt::Key_Return); // keeps what may be lost
    QTRY_VERIFY(!findItem(mainWindow(), question));
    QCOMPARE(vm->state(), VMState::running);

    m_app->state().showConsole(vm);
    QQuickWindow *console = m_app->consoleWindow(vm->id());
    click(console, u"Stop"_s);
    QTRY_VERIFY(findItem(console, question));
    QVERIFY(!findItem(mainWindow(), question));
    controller.change(VMState::poweredOff); // which answers it
    QTRY_VERIFY(!findItem(console, question));

    const auto wait = [&] { // as the manager does
        vm->setShuttingDown(false);
        Q_EMIT m_app->state().vmManager()->shutDownOverdue(vm);
    };
    click(console, u"Start"_s);
    click(console, u"Shut Down"_s);
    QTRY_VERIFY(findItem(console, u"Shutting Down"_s));
    wait();
    QTest::keyClick(console, Qt::Key_Tab); // what was meant for the guest
    QTest::keyClick(console, Qt::Key_Return);
    QTRY_VERIFY(findItem(console, overdue));
    QVERIFY(vm->canStop());
    console->close();
    Q_EMIT m_app->state().stopQuestioned(machine(1), false); // which is off
    m_app->state().perform(vm, VMCommand::Stop);
    QTRY_VERIFY(findItem(mainWindow(), question));
    wait(); // one more
    QTRY_VERIFY(findItem(mainWindow(), overdue));
    click(mainWindow(), u"Keep Running"_s);
    QTRY_VERIFY(!findItem(mainWindow(), overdue));
    QVERIFY(findItem(mainWindow(), question));
    QTest::keyClick(mainWindow(), Qt::Key_Tab);
    QTest::keyClick(mainWindow(), Qt::Key_Return);
    QTRY_COMPARE(vm->state(), VMState::poweredOff);
    QCOMPARE(controller.calls.count(u"stop"_s), 1);
}

void WindowsTest::cardsAreSelectedAndCommanded()
{
    VirtualMachine *second = machine(1);
    click(mainWindow(), u"first"_s);
    QTRY_COMPARE(m_app->state().selectedVM(), machine(0));
    QTest::keyClick(mainWindow(), Qt::Key_Right);
    QTRY_COMPARE(m_app->state().selectedVM(), second);
    QTest::keyClick(mainWindow(), Qt::Key_Left);
    QTRY_COMPARE(m_app->state().selectedVM(), machine(0));
    QTest::keyClick(mainWindow(), Qt::Key_Return);
    QTRY_VERIFY(m_app->consoleWindow(machine(0)->id()));

    click(mainWindow(), u"Install"_s);
    QTRY_COMPARE(second->state(), VMState::running);
    QTRY_VERIFY(m_app->consoleWindow(second->id()));
    QQuickWindow *console = m_app->consoleWindow(second->id());
    click(console, u"Stop"_s);
    click(console, u"Install Windows"_s);
    QTRY_COMPARE(second->state(), VMState::running);
    click(console, u"Stop"_s);
    click(console, u"Finish Install"_s);
    QTRY_COMPARE(second->installationState(), VMInstallationState::completed);
}

void WindowsTest::hintsExplainWhatNeedsThem()
{
    const QString reason = u"The virtual machine is not running."_s;
    const QString longName(200, u'n');
    VMConfiguration configuration = machine(0)->configuration();
    configuration.name = longName;
    machine(0)->setConfiguration(configuration);
    auto *finder = mainWindow()->findChild<HintFinder *>();
    QVERIFY(finder);
    finder->setRestTime(20ms);
    QTRY_VERIFY(findItem(mainWindow(), longName) && findItem(mainWindow(), u"Stop"_s, false));
    mainWindow()->grabWindow(); // the places of all
    const QPoint stop = centerOf(*findItem(mainWindow(), u"Stop"_s, false));
    const QPoint start = centerOf(*findItem(mainWindow(), u"Start"_s));

    QTest::mouseMove(mainWindow(), stop);
    QTRY_VERIFY(findItem(mainWindow(), reason));
    QTest::mouseMove(mainWindow(), stop + QPoint(1, 1));
    QCOMPARE(finder->text(), reason);
    QTest::keyClick(mainWindow(), Qt::Key_Shift);
    QCOMPARE(finder->text(), QString());
    QTest::mouseMove(mainWindow(), centerOf(*findItem(mainWindow(), longName)));
    QTRY_COMPARE(finder->text(), longName);

    QTest::mouseMove(mainWindow(), start);
    QCOMPARE(finder->text(), QString());
    QTest::qWait(100);
    QCOMPARE(finder->text(), QString());
    m_app->state().setShowingCreateVM(true); // above it all
    QTRY_VERIFY(findItem(mainWindow(), u"Choose Operating System"_s));
    QTest::mouseMove(mainWindow(), stop);
    QTest::qWait(100);
    QCOMPARE(finder->text(), QString());
}

void WindowsTest::cardsHoldTheirButtonsWithLargeText()
{
    const QFont usual = QGuiApplication::font();
    const auto restore = qScopeGuard([&] { QGuiApplication::setFont(usual); });
    QFont large = usual;
    large.setPixelSize(28);
    QGuiApplication::setFont(large);
    machine(0)->setInstallationState(VMInstallationState::inProgress);
    QTRY_COMPARE(Appearance::shared().baseFontPixelSize(), 28);
    QTRY_VERIFY(findItem(mainWindow(), u"Finish Install"_s));
    mainWindow()->grabWindow(); // the places of all
    for (const QString &text : {u"Install"_s, u"Finish Install"_s}) {
        const QQuickItem *button = findItem(mainWindow(), text);
        QVERIFY2(button, qPrintable(text));
        const QQuickItem *row = button->parentItem();
        QVERIFY2(row->x() + row->width() <= row->parentItem()->width(), qPrintable(text));
    }
}

void WindowsTest::cardsShareTheWidth()
{
    const auto standSideBySide = [this] {
        const QQuickItem *first = findItem(mainWindow(), u"first"_s);
        const QQuickItem *second = findItem(mainWindow(), u"second"_s);
        return first && second && centerOf(*first).y() == centerOf(*second).y();
    };
    mainWindow()->resize(1120, 740);
    QTRY_VERIFY(standSideBySide());
    mainWindow()->resize(mainWindow()->minimumSize());
    QTRY_VERIFY(!standSideBySide());
    mainWindow()->resize(1120, 740);
    QTRY_VERIFY(standSideBySide());
    for (const auto section : {SidebarSection::settings, SidebarSection::virtualMachines}) {
        m_app->state().setSelectedSection(section);
        mainWindow()->grabWindow();
    }
    QTRY_VERIFY(standSideBySide());
}

void WindowsTest::enteringTheListSelectsNothing()
{
    QTRY_VERIFY(findItem(mainWindow(), u"first"_s));
    const auto isInTheList = [this] {
        const QQuickItem *item = mainWindow()->activeFocusItem();
        while (item && !item->inherits("QQuickGridView"))
            item = item->parentItem();
        return item != nullptr;
    };
    for (int stops = 0; stops < 10 && !isInTheList(); ++stops)
        QTest::keyClick(mainWindow(), Qt::Key_Tab);
    QVERIFY(isInTheList());
    QCOMPARE(m_app->state().selectedVM(), nullptr);
    QTest::keyClick(mainWindow(), Qt::Key_Space);
    QCOMPARE(m_app->state().selectedVM(), machine(0));
}

void WindowsTest::scrolledCardsStayInTheList()
{
    QQuickItem *card = nullptr;
    QTRY_VERIFY((card = findItem(mainWindow(), u"first"_s)));
    QQuickItem *grid = card;
    while (grid && !grid->inherits("QQuickGridView"))
        grid = grid->parentItem();
    QVERIFY(grid);
    const int top = qFloor(grid->mapToScene({}).y());
    const auto picture = [&](int from, int to) {
        return mainWindow()->grabWindow().copy(0, from, mainWindow()->width(), to - from);
    };
    QVERIFY(top > 0);
    QTRY_VERIFY(findItem(mainWindow(), u"Console"_s)); // the card is complete
    const QImage header = picture(0, top);
    const QImage list = picture(top, mainWindow()->height());
    grid->setProperty("contentY", grid->property("contentY").toReal() + card->parentItem()->height() / 2);
    QVERIFY(picture(top, mainWindow()->height()) != list);
    QCOMPARE(picture(0, top), header);
}

void WindowsTest::lastWindowAsksAsWell()
{
    VirtualMachine *vm = machine(0);
    m_app->state().perform(vm, VMCommand::Start);
    QTRY_COMPARE(vm->state(), VMState::running);
    m_app->state().showConsole(vm);
    QQuickWindow *console = m_app->consoleWindow(vm->id());
    QVERIFY(mainWindow()->close());
    QVERIFY(!console->close());
    QTRY_VERIFY(findItem(console, u"Quit Kelvo?"_s));
    click(console, u"Cancel"_s);
    QTRY_VERIFY(!findItem(console, u"Quit Kelvo?"_s));
    m_app->endWithTheSession();
    QVERIFY(console->close());
}

void WindowsTest::sizesAreRememberedWithinTheScreen()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"sizes.ini"_s);
    const auto restart = [&] {
        m_app.reset();
        m_stage = std::make_unique<AppStage>();
        m_app = std::make_unique<KelvoApp>(std::move(m_stage->state), path);
        return m_app->start() && QTest::qWaitForWindowExposed(mainWindow(), patience);
    };
    const QSize screen = mainWindow()->screen()->availableSize();
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[Main]\nsize=@Size(90000 10)\n[Settings]\nsize=rubbish\n");
    file.close();
    QVERIFY(restart());
    QCOMPARE(mainWindow()->size(), QSize(screen.width(), mainWindow()->minimumHeight()));

    m_app->showSettings();
    QQuickWindow *settings = m_app->settingsWindow();
    const QSize wanted(500, 400);
    QVERIFY(settings->width() > wanted.width());
    settings->resize(wanted);
    QVERIFY(settings->close());
    mainWindow()->showMaximized();
    QVERIFY(mainWindow()->close());

    for (const auto visibility : {QWindow::Maximized, QWindow::Windowed}) {
        QVERIFY(restart());
        QCOMPARE(mainWindow()->visibility(), visibility);
        m_app->showSettings();
        QCOMPARE(m_app->settingsWindow()->size(), wanted);
        m_app->settingsWindow()->showFullScreen();
        QVERIFY(m_app->settingsWindow()->close());
        mainWindow()->showNormal();
        // Also what ends in a crash has written that by then.
        const QSettings written(path, QSettings::IniFormat);
        QTRY_VERIFY(!written.value(u"Main/maximized"_s, true).toBool());
    }
}

KELVO_GUI_TEST_MAIN(WindowsTest)
#include "tst_windows.moc"
