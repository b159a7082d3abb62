#include "UI/Components/Display/GuestScreenItem.h"
#include "UI/Components/Display/KeyEvents.h"
#include "support/TestMain.h"

#include <QQuickWindow>
#include <QShortcut>
#include <QSignalSpy>

#include <array>
#include <functional>

namespace {

/// A screen of 20 × 10 pixels, ten times as large, between bars of 50 at its sides. Notes what is sent.
class NotingScreen final : public GuestScreenItem
{
public:
    using GuestScreenItem::GuestScreenItem;

    /// As hexadecimal digits.
    [[nodiscard]] QByteArray takeSent() { return std::exchange(m_sent, {}).toHex(); }

protected:
    [[nodiscard]] QSize guestSize() const override { return {20, 10}; }
    [[nodiscard]] QRectF guestRect() const override { return {50, 0, 200, 100}; }
    [[nodiscard]] bool canSendInput() const override { return true; }
    void sendInput(std::span<const std::byte> messages) override
    {
        m_sent.append(reinterpret_cast<const char *>(messages.data()),
                      static_cast<qsizetype>(messages.size()));
    }

private:
    QByteArray m_sent;
};

struct Stage
{
    Stage()
        : screen(new NotingScreen(window.contentItem()))
    {
        window.resize(300, 100);
        screen->setSize({300, 100});
        window.show();
        window.requestActivate();
        if (!QTest::qWaitForWindowActive(&window, patience))
            qFatal("no active window");
        screen->forceActiveFocus();
        (void)screen->takeSent();
    }

    void wheel(QPointF position, int angle)
    {
        QWheelEvent event(position, window.mapToGlobal(position), {}, {0, angle}, {}, {}, Qt::NoScrollPhase,
                          false);
        QCoreApplication::sendEvent(&window, &event);
    }

    QQuickWindow window;
    NotingScreen *screen;
};

const QByteArray aDown = "ff000001000000000000001e";
const QByteArray aUp = "ff000000000000000000001e";
const QByteArray leftDown = "050100000000";
const QByteArray leftUp = "050000000000";

} // namespace

class TestGuestScreenItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void releasesWhatIsDown();
    void keysGoByTheirPlace();
    void shortcutsOfTheWindowWait();
    void dropsWhatTheHostRepeats();
    void givesTheKeyboardBack();
    void pointerKeepsToTheScreen();
    void collectsTurnsOfTheWheel();
};

void TestGuestScreenItem::releasesWhatIsDown()
{
    const std::array<std::function<void(Stage &)>, 6> actions = {
        [](Stage &stage) { stage.screen->setFocus(false); },
        [](Stage &stage) { stage.screen->setVisible(false); },
        [](Stage &stage) { stage.screen->setEnabled(false); },
        [](Stage &stage) { stage.screen->setInputEnabled(false); },
        [](Stage &stage) {
            QFocusEvent event(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
            QCoreApplication::sendEvent(&stage.window, &event);
        },
        [](Stage &stage) { stage.window.close(); },
    };
    for (const auto &action : actions) {
        Stage stage;
        QTest::mousePress(&stage.window, Qt::LeftButton, {}, {50, 0});
        sendKey(stage.window, QEvent::KeyPress, aKey);
        QCOMPARE(stage.screen->takeSent(), leftDown + aDown);
        action(stage);
        QTRY_VERIFY(!stage.screen->hasKeyboard());
        QCOMPARE(stage.screen->takeSent(), aUp + leftUp);
        sendKey(stage.window, QEvent::KeyRelease, aKey);
        QTest::mouseRelease(&stage.window, Qt::LeftButton, {}, {50, 0});
        QCOMPARE(stage.screen->takeSent(), QByteArray());
    }
}

void TestGuestScreenItem::keysGoByTheirPlace()
{
    Stage stage;
    for (const auto &[key, scanCode] : {std::pair(PlacedKey{Qt::Key_Y, KEY_Z}, "2c"), // of a German keyboard
                                        {{0x3b1, KEY_A}, "1e"},                       // of a Greek one
                                        {{Qt::Key_Dead_Circumflex, KEY_GRAVE}, "29"},
                                        {{Qt::Key_Control, KEY_RIGHTCTRL}, "9d"}}) {
        sendKey(stage.window, QEvent::KeyPress, key);
        QVERIFY(stage.screen->takeSent().endsWith(scanCode));
    }
    sendKey(stage.window, QEvent::KeyPress, {Qt::Key_MicMute, KEY_MICMUTE});
    QTest::keyPress(&stage.window, Qt::Key_B); // has no place
    QCOMPARE(stage.screen->takeSent(), QByteArray());
}

void TestGuestScreenItem::shortcutsOfTheWindowWait()
{
    Stage stage;
    QShortcut shortcut(QKeySequence(Qt::CTRL | Qt::Key_W), &stage.window);
    QSignalSpy closed(&shortcut, &QShortcut::activated);
    QTest::keyClick(&stage.window, Qt::Key_W,
                    Qt::ControlModifier); // unlike sendKey(), by way of the shortcuts
    QCOMPARE(closed.count(), 0);
    stage.screen->setInputEnabled(false);
    QTest::keyClick(&stage.window, Qt::Key_W, Qt::ControlModifier);
    QCOMPARE(closed.count(), 1);
    QCOMPARE(stage.screen->takeSent(), QByteArray());
}

void TestGuestScreenItem::dropsWhatTheHostRepeats()
{
    Stage stage;
    for (const bool isRepeat : {false, true})
        sendKey(stage.window, QEvent::KeyPress, aKey, isRepeat);
    for (const bool isRepeat : {true, false})
        sendKey(stage.window, QEvent::KeyRelease, aKey, isRepeat);
    QCOMPARE(stage.screen->takeSent(), aDown + aUp);
}

void TestGuestScreenItem::givesTheKeyboardBack()
{
    constexpr PlacedKey shift{Qt::Key_Shift, KEY_LEFTSHIFT};
    constexpr PlacedKey remove{Qt::Key_Delete, KEY_DELETE};
    constexpr auto down = QEvent::KeyPress;
    constexpr auto up = QEvent::KeyRelease;
    const QList<std::pair<QList<std::pair<QEvent::Type, PlacedKey>>, int>> cases = {
        {{{down, controlKey}, {down, altKey}}, 0},
        {{{down, controlKey}, {down, altKey}, {up, altKey}}, 1},
        {{{down, altKey}, {down, controlKey}, {up, altKey}, {up, controlKey}}, 1},
        {{{down, controlKey}, {up, controlKey}, {down, altKey}, {up, altKey}}, 0},
        {{{down, controlKey}, {down, altKey}, {down, remove}, {up, remove}, {up, altKey}}, 0},
        {{{down, shift}, {down, controlKey}, {down, altKey}, {up, altKey}, {up, controlKey}}, 0},
    };
    for (const auto &[keys, times] : cases) {
        Stage stage;
        QSignalSpy released(stage.screen, &GuestScreenItem::keyboardReleased);
        for (const auto &[type, key] : keys)
            sendKey(stage.window, type, key);
        QCOMPARE(released.count(), times);
    }
}

void TestGuestScreenItem::pointerKeepsToTheScreen()
{
    Stage stage;
    QTest::mousePress(&stage.window, Qt::LeftButton, {}, {49, 50}); // begins in the bar
    QTest::mouseMove(&stage.window, {150, 50});
    QTest::mouseRelease(&stage.window, Qt::LeftButton, {}, {150, 50});
    QVERIFY(!stage.screen->takeSent().contains("0501"));
    QTest::mousePress(&stage.window, Qt::LeftButton, {}, {249, 99});
    QTest::mouseMove(&stage.window, {299, 20});
    QTest::mouseRelease(&stage.window, Qt::LeftButton, {}, {10, 20});
    QCOMPARE(stage.screen->takeSent(), QByteArray("050000130009"
                                                  "050100130009"
                                                  "050100130002"
                                                  "050100000002"
                                                  "050000000002"));
    QTest::mouseMove(&stage.window, {55, 5});
    QTest::mouseMove(&stage.window, {59, 9}); // the same pixel
    QTest::mouseMove(&stage.window, {45, 9});
    QCOMPARE(stage.screen->takeSent(), leftUp);
}

void TestGuestScreenItem::collectsTurnsOfTheWheel()
{
    Stage stage;
    const QByteArray up = "050800000000" + leftUp;
    const QByteArray down = "051000000000" + leftUp;
    stage.wheel({50, 0}, 80);
    QCOMPARE(stage.screen->takeSent(), QByteArray());
    stage.wheel({50, 0}, 80);
    QCOMPARE(stage.screen->takeSent(), up);
    stage.wheel({50, 0}, -280);
    QCOMPARE(stage.screen->takeSent(), down.repeated(2));
    stage.wheel({20, 0}, 240); // over the bar
    QCOMPARE(stage.screen->takeSent(), QByteArray());
    stage.wheel({50, 0}, 1 << 30);
    QCOMPARE(stage.screen->takeSent(), up.repeated(20));
}

KELVO_GUI_TEST_MAIN(TestGuestScreenItem)
#include "tst_guestscreenitem.moc"
