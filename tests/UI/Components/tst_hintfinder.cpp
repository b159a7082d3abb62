#include "UI/Components/HintFinder.h"
#include "support/TestMain.h"

#include <QQmlComponent>
#include <QQmlEngine>
#include <QSignalSpy>
#include <QtQml/qqmlextensionplugin.h>

Q_IMPORT_QML_PLUGIN(Kelvo_ComponentsPlugin)

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QByteArray scene = R"(
import QtQuick
import QtQuick.Templates as T
import Kelvo.Components

T.ApplicationWindow {
    id: root

    property alias saying: button.enabled
    property alias isCovered: panel.visible
    readonly property alias finder: finder

    width: 300
    height: 300
    visible: true

    HintFinder { id: finder; window: root }

    PushButton { id: button; width: 300; height: 100; enabled: false; text: "Stop"; disabledReason: "It is off." }
    Label { y: 100; width: 60; height: 100; text: "A name that is much too long" }
    Label { y: 200; width: 300; height: 100; text: "short" }

    Sheet { id: panel; title: "" }
}
)";

} // namespace

class HintFinderTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void explainsWhatNeedsIt_data();
    void explainsWhatNeedsIt();
    void goesWithThePointerAndWithAKey();
    void looksAtNothingBelowAPanel();

private:
    void rest(QPoint place);

    QQmlEngine m_engine;
    std::unique_ptr<QObject> m_root;
    QQuickWindow *m_window = nullptr;
    HintFinder *m_finder = nullptr;
};

void HintFinderTest::initTestCase()
{
    QQmlComponent component(&m_engine);
    component.setData(scene, {});
    m_root.reset(component.create());
    QVERIFY2(m_root, qPrintable(component.errorString()));
    m_window = qobject_cast<QQuickWindow *>(m_root.get());
    m_finder = m_root->property("finder").value<HintFinder *>();
    QVERIFY(m_window && m_finder);
    m_finder->setRestTime(20ms);
    QVERIFY(QTest::qWaitForWindowExposed(m_window, patience));
}

void HintFinderTest::init()
{
    m_window->setProperty("saying", false);
    m_window->setProperty("isCovered", false);
    QTest::mouseMove(m_window, {290, 290});
}

void HintFinderTest::rest(QPoint place)
{
    QTest::mouseMove(m_window, place);
    QTest::qWait(100);
}

void HintFinderTest::explainsWhatNeedsIt_data()
{
    QTest::addColumn<QPoint>("place");
    QTest::addColumn<bool>("isEnabled");
    QTest::addColumn<QString>("text");
    QTest::newRow("disabled") << QPoint(10, 50) << false << u"It is off."_s;
    QTest::newRow("enabled") << QPoint(10, 50) << true << QString();
    QTest::newRow("cut off") << QPoint(10, 150) << false << u"A name that is much too long"_s;
    QTest::newRow("beside it") << QPoint(100, 150) << false << QString();
    QTest::newRow("whole") << QPoint(10, 250) << false << QString();
}

void HintFinderTest::explainsWhatNeedsIt()
{
    QFETCH(const QPoint, place);
    QFETCH(const bool, isEnabled);
    m_window->setProperty("saying", isEnabled);
    rest(place);
    QFETCH(const QString, text);
    QTRY_COMPARE(m_finder->text(), text);
    QCOMPARE(m_finder->item() != nullptr, !m_finder->text().isEmpty());
}

void HintFinderTest::goesWithThePointerAndWithAKey()
{
    rest({10, 50});
    QTRY_COMPARE(m_finder->text(), u"It is off."_s);
    QTest::mouseMove(m_window, {12, 60});
    QCOMPARE(m_finder->text(), u"It is off."_s);
    QTest::mouseMove(m_window, {100, 150});
    QCOMPARE(m_finder->text(), QString());
    rest({10, 50});
    QTRY_COMPARE(m_finder->text(), u"It is off."_s);
    QTest::keyClick(m_window, Qt::Key_A);
    QCOMPARE(m_finder->text(), QString());
}

void HintFinderTest::looksAtNothingBelowAPanel()
{
    m_window->setProperty("isCovered", true);
    rest({10, 50});
    QCOMPARE(m_finder->text(), QString());
}

KELVO_GUI_TEST_MAIN(HintFinderTest)
#include "tst_hintfinder.moc"
