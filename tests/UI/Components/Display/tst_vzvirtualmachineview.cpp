#include "Platform/Hypervisor/DisplayPeer.h"
#include "RemoteFramebuffer/ServerStream.h"
#include "UI/Components/Display/KeyEvents.h"
#include "UI/Components/Display/VZVirtualMachineView.h"
#include "UI/Components/Display/WindowPicture.h"
#include "support/TestMain.h"

#include <QRandomGenerator>

#include <memory>

using namespace serverstream;
using namespace Qt::StringLiterals;
using State = VZVirtualMachine::State;

namespace {

/// A machine in whichever state a test likes, whose display the test plays.
class ShownMachine final : public VZVirtualMachine
{
public:
    ShownMachine()
        : VZVirtualMachine(VZVirtualMachineConfiguration())
    {}

    [[nodiscard]] State state() const override { return m_state; }
    void setState(State state)
    {
        m_state = state;
        Q_EMIT stateChanged();
    }
    [[nodiscard]] UniqueDescriptor openDisplay() override
    {
        ++timesOpened;
        peer = std::make_unique<DisplayPeer>();
        return peer->takeClientEnd();
    }

    std::unique_ptr<DisplayPeer> peer;
    int timesOpened = 0;

private:
    State m_state = State::running;
};

constexpr qsizetype openingBytes = 12 + 1 + 1 + 4 + 6 * 4 + 10;
constexpr qsizetype requestBytes = 10;

QByteArray corner(int x, int y, int width, int height)
{
    QByteArray bytes;
    for (const int value : {x, y, width, height})
        bytes += uint16(static_cast<std::uint16_t>(value));
    return bytes;
}

/// The pixels of `area` as a raw rectangle, with their unused bytes as they are.
QByteArray raw(const QImage &image, const QRect &area)
{
    QByteArray bytes = corner(area.x(), area.y(), area.width(), area.height()) + uint32(0);
    for (int y = area.top(); y <= area.bottom(); ++y)
        bytes += QByteArray(reinterpret_cast<const char *>(image.constScanLine(y) + qsizetype{area.x()} * 4),
                            qsizetype{area.width()} * 4);
    return bytes;
}

QByteArray newSize(const QSize &size)
{
    return corner(0, 0, size.width(), size.height()) + uint32(static_cast<std::uint32_t>(-223));
}

QImage noise(const QSize &size, QRandomGenerator &random)
{
    QImage image(size, QImage::Format_RGB32);
    random.fillRange(reinterpret_cast<QRgb *>(image.bits()), qsizetype{size.width()} * size.height());
    return image;
}

QImage plain(QRgb colour)
{
    QImage image(20, 10, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

/// A window with nothing but a view of a running machine in it, away from the window's corner as below a
/// toolbar.
class Screen
{
public:
    static constexpr QPoint corner{7, 45};

    explicit Screen(const QSize &size)
        : item(new VZVirtualMachineView(window.contentItem()))
    {
        window.setColor(Qt::magenta);
        item->setPosition(corner);
        resize(size);
        window.show();
        if (!QTest::qWaitForWindowExposed(&window, patience))
            qFatal("no window");
        item->setVirtualMachine(&machine);
    }

    void resize(const QSize &size)
    {
        window.resize(size + QSize(corner.x(), corner.y()));
        item->setSize(size);
    }
    /// Sends and waits until the view has used it and asked for more.
    [[nodiscard]] bool show(const QByteArray &bytes, qsizetype answer = requestBytes)
    {
        (void)machine.peer->received();
        machine.peer->send(bytes);
        QByteArray answers;
        // Of the answers only requests count; in between the view keeps the emulator awake.
        const auto hasAnswered = [&] {
            answers += machine.peer->received();
            return answers.replace(QByteArray("\x06\x00\x00\x00\x00\x00\x00\x00", 8), {}).size() >= answer;
        };
        return QTest::qWaitFor(hasAnswered, patience);
    }
    [[nodiscard]] bool start(const QImage &image)
    {
        return show(
            handshake(static_cast<std::uint16_t>(image.width()), static_cast<std::uint16_t>(image.height())) +
                updateHeader(1) + raw(image, image.rect()),
            openingBytes + requestBytes);
    }
    [[nodiscard]] QString difference(const QImage &image, const QRect &target)
    {
        return windowDifference(window, *item, image, target);
    }

    ShownMachine machine;
    QQuickWindow window;
    VZVirtualMachineView *item;
};

} // namespace

class TestVZVirtualMachineView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fitsTheScreenSharpAndCentred();
    void showsEveryChange();
    void followsTheMachine();
    void asksForNothingWhileHidden();
    void takesThePointersPicture();
    void passesInputOnWhileTheGuestRuns();
};

void TestVZVirtualMachineView::fitsTheScreenSharpAndCentred()
{
    QRandomGenerator random(3);
    for (const auto &[itemSize, pixels, target, isPlain] :
         {std::tuple(QSize(701, 400), QSize(300, 200), QRect(50, 0, 600, 400), false),
          {QSize(300, 301), QSize(300, 200), QRect(0, 50, 300, 200), false},
          // Tiles do not end where device pixels do: there are no seams when larger or smaller.
          {QSize(437, 292), QSize(300, 200), QRect(0, 0, 437, 291), true},
          {QSize(211, 200), QSize(600, 400), QRect(0, 30, 211, 140), true}}) {
        QImage image = noise(pixels, random);
        if (isPlain)
            image.fill(0x00ff8040);
        Screen screen(itemSize);
        QCOMPARE(screen.difference({}, {}), QString());
        QVERIFY(screen.start(image));
        QCOMPARE(screen.difference(image, target), QString());
        QCOMPARE(QSizeF(screen.item->implicitWidth(), screen.item->implicitHeight()), QSizeF(pixels));
    }
}

void TestVZVirtualMachineView::showsEveryChange()
{
    QRandomGenerator random(5);
    QImage image = noise({600, 300}, random);
    Screen screen(image.size());
    QVERIFY(screen.start(image));
    for (int step = 0; step < 40; ++step) {
        QByteArray rectangles;
        if (step % 10 == 9) {
            image = noise({200 + random.bounded(400), 100 + random.bounded(300)}, random);
            screen.resize(image.size() * (1 + step / 10 % 2));
            rectangles = newSize(image.size()) + raw(image, image.rect());
        } else {
            const int x = random.bounded(image.width());
            const int y = random.bounded(image.height());
            const QRect area(x, y, 1 + random.bounded(image.width() - x),
                             1 + random.bounded(image.height() - y));
            const QRect small(random.bounded(image.width()), random.bounded(image.height()), 1, 1);
            QPainter painter(&image);
            painter.drawImage(area, noise(area.size(), random));
            painter.fillRect(small, Qt::white);
            painter.end();
            rectangles = raw(image, area) + raw(image, small);
        }
        QVERIFY(screen.show(updateHeader(2) + rectangles));
        QCOMPARE(screen.difference(image, QRect(QPoint(), screen.item->size().toSize())), QString());
    }
}

void TestVZVirtualMachineView::followsTheMachine()
{
    QImage image = plain(0x00112233);
    Screen screen({20, 10});
    QVERIFY(screen.start(image));
    for (const State state : {State::pausing, State::paused, State::resuming, State::running})
        screen.machine.setState(state);
    QCOMPARE(screen.machine.timesOpened, 1);
    QCOMPARE(screen.difference(image, image.rect()), QString());

    for (const State state : {State::stopping, State::stopped, State::starting})
        screen.machine.setState(state);
    QCOMPARE(screen.difference({}, {}), QString());
    QCOMPARE(screen.item->implicitWidth(), 0.0);
    QCOMPARE(screen.machine.timesOpened, 1);
    screen.machine.setState(State::running);
    QCOMPARE(screen.machine.timesOpened, 2);
    QVERIFY(screen.start(image));
    QCOMPARE(screen.difference(image, image.rect()), QString());

    // The emulator ends the connection alone: the picture stays until there is another.
    screen.machine.peer->close();
    QTRY_COMPARE(screen.machine.timesOpened, 3);
    QCOMPARE(screen.difference(image, image.rect()), QString());
    image.fill(0x00445566);
    QVERIFY(screen.start(image));
    QCOMPARE(screen.difference(image, image.rect()), QString());

    auto other = std::make_unique<ShownMachine>();
    screen.item->setVirtualMachine(other.get());
    QCOMPARE(other->timesOpened, 1);
    QCOMPARE(screen.difference({}, {}), QString());
    other.reset();
    QVERIFY(!screen.item->virtualMachine());
    QCOMPARE(screen.difference({}, {}), QString());
}

void TestVZVirtualMachineView::asksForNothingWhileHidden()
{
    QImage image = plain(0x00112233);
    Screen screen({20, 10});
    QVERIFY(screen.start(image));
    screen.item->setVisible(false);
    (void)screen.machine.peer->received();
    image.fill(0x00445566);
    screen.machine.peer->send(updateHeader(1) + raw(image, image.rect()));
    QTest::qWait(250);
    QCOMPARE(screen.machine.peer->received(), QByteArray());
    screen.item->setVisible(true);
    QVERIFY(screen.show({}));
    QCOMPARE(screen.difference(image, image.rect()), QString());
}

void TestVZVirtualMachineView::takesThePointersPicture()
{
    QRandomGenerator random(9);
    Screen screen({40, 20});
    QVERIFY(screen.start(noise({20, 10}, random)));
    QCOMPARE(screen.item->cursor().shape(), Qt::ArrowCursor);
    const QByteArray alphaCursor = uint32(static_cast<std::uint32_t>(-314));
    QVERIFY(screen.show(updateHeader(1) + corner(1, 0, 2, 1) + alphaCursor + uint32(0) +
                        QByteArray("\x00\x00\xff\xff\x00\x00\x00\x00", 8)));
    QTRY_COMPARE(screen.item->cursor().shape(), Qt::BitmapCursor);
    const QImage shown = screen.item->cursor().pixmap().toImage();
    QCOMPARE(shown.size(), QSize(4, 2));
    QCOMPARE(shown.pixelColor(1, 1), QColor(Qt::red));
    QCOMPARE(shown.pixelColor(2, 1).alpha(), 0);
    QCOMPARE(screen.item->cursor().hotSpot(), QPoint(2, 0));
    QVERIFY(screen.show(updateHeader(1) + corner(0, 0, 0, 0) + alphaCursor + uint32(0)));
    QTRY_COMPARE(screen.item->cursor().pixmap().toImage().pixelColor(0, 0).alpha(), 0);
    screen.machine.setState(State::stopped);
    QCOMPARE(screen.item->cursor().shape(), Qt::ArrowCursor);
}

void TestVZVirtualMachineView::passesInputOnWhileTheGuestRuns()
{
    QRandomGenerator random(13);
    Screen screen({400, 200});
    QVERIFY(screen.start(noise({100, 100}, random)));
    const auto sent = [&screen](const QByteArray &message) {
        QByteArray bytes;
        return QTest::qWaitFor([&] { return (bytes += screen.machine.peer->received()).contains(message); },
                               patience);
    };
    screen.item->forceActiveFocus();
    QVERIFY(!screen.item->hasKeyboard());
    QVERIFY(screen.show(updateHeader(1) + corner(0, 0, 100, 100) + uint32(static_cast<std::uint32_t>(-258))));
    QTRY_VERIFY(screen.item->hasKeyboard());
    sendKey(screen.window, QEvent::KeyPress, aKey);
    const QByteArray key("\xff\x00\x00\x01\x00\x00\x00\x00\x00\x00\x00\x1e", 12);
    QVERIFY(sent(key));
    // Twice as large, between bars of 100.
    QTest::mousePress(&screen.window, Qt::LeftButton, {}, Screen::corner + QPoint(100 + 51, 99));
    QVERIFY(sent(QByteArray("\x05\x01\x00\x19\x00\x31", 6)));
    screen.machine.setState(State::pausing);
    QVERIFY(sent(QByteArray(key).replace(3, 1, QByteArray(1, '\0'))));
    QVERIFY(!screen.item->hasKeyboard());
}

KELVO_GUI_TEST_MAIN(TestVZVirtualMachineView)
#include "tst_vzvirtualmachineview.moc"
