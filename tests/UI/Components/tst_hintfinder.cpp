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
    void explainsWhatNeedsIt();
    void goesWithThePointerAndWithAKey();

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

void HintFinderTest::explainsWhatNeedsIt()
{
    const auto shownAt = [this](QPoint place, const char *changed = "saying", bool value = false) {
        init();
        m_window->setProperty(changed, value);
        rest(place);
        return m_finder->text();
    };
    constexpr QPoint button(10, 50);
    QTRY_COMPARE(shownAt(button), u"It is off."_s);
    QVERIFY(m_finder->item());
    QCOMPARE(shownAt(button, "saying", true), QString());
    QVERIFY(!m_finder->item());
    QCOMPARE(shownAt(button, "isCovered", true), QString()); // by a panel
    QTRY_COMPARE(shownAt({10, 150}), u"A name that is much too long"_s);
    QCOMPARE(shownAt({100, 150}), QString()); // beside it
    QCOMPARE(shownAt({10, 250}), QString());
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

KELVO_GUI_TEST_MAIN(HintFinderTest)
#include "tst_hintfinder.moc"
