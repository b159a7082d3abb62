#include "RemoteFramebuffer/InputState.h"
#include "RemoteFramebuffer/ScanCode.h"
#include "support/TestMain.h"

#include <linux/input-event-codes.h>

#include <set>

using rfb::InputState;
using rfb::Point;
using rfb::scanCodeOfKeyCode;

namespace {

QByteArray hex(const InputState::Messages &messages)
{
    return QByteArray(reinterpret_cast<const char *>(messages.data()),
                      static_cast<qsizetype>(messages.size()))
        .toHex();
}

} // namespace

class TestInputState : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKeyHasAScanCodeOfItsOwn();
    void leavesNothingDown();
    void saysNothingTwice();
    void turnsTheWheelWithButtonsDown();
};

void TestInputState::everyKeyHasAScanCodeOfItsOwn()
{
    std::set<std::uint8_t> taken;
    std::size_t count = 0;
    for (std::uint32_t keyCode = 0; keyCode < KEY_CNT; ++keyCode) {
        if (const auto scanCode = scanCodeOfKeyCode(keyCode)) {
            QVERIFY2(*scanCode != 0 && taken.insert(*scanCode).second, qPrintable(QString::number(keyCode)));
            ++count;
        }
    }
    // The 105 keys of a PC keyboard, and those of Japanese, Korean and Brazilian ones.
    QVERIFY2(count >= 105, qPrintable(QString::number(count)));
    for (const std::uint32_t unknown : {std::uint32_t{KEY_RESERVED}, std::uint32_t{KEY_MICMUTE}, ~0U})
        QVERIFY(!scanCodeOfKeyCode(unknown));
    // Keys that share a name, or a code but for the bit that says which one it is.
    QCOMPARE(scanCodeOfKeyCode(KEY_ENTER), 0x1c);
    QCOMPARE(scanCodeOfKeyCode(KEY_KPENTER), 0x9c);
    QCOMPARE(scanCodeOfKeyCode(KEY_KP7), 0x47);
    QCOMPARE(scanCodeOfKeyCode(KEY_HOME), 0xc7);
    QCOMPARE(scanCodeOfKeyCode(KEY_RIGHTALT), 0xb8);
}

void TestInputState::leavesNothingDown()
{
    InputState state;
    (void)state.press(std::uint8_t{0x38});
    (void)state.press(std::uint8_t{0x1d});
    (void)state.press(InputState::Button::Left, {});
    (void)state.press(InputState::Button::Right, {.x = 0x102, .y = 0x304});
    QCOMPARE(hex(state.releaseAll()), QByteArray("ff000000000000000000001d"
                                                 "ff0000000000000000000038"
                                                 "050001020304"));
    QCOMPARE(hex(state.releaseAll()), QByteArray());
    // The key's own release comes late.
    QCOMPARE(hex(state.release(std::uint8_t{0x1d})), QByteArray());
    QCOMPARE(hex(state.release(InputState::Button::Left, {})), QByteArray());
}

void TestInputState::saysNothingTwice()
{
    InputState state;
    QCOMPARE(hex(state.press(std::uint8_t{1})), QByteArray("ff0000010000000000000001"));
    QCOMPARE(hex(state.press(std::uint8_t{1})), QByteArray());
    QCOMPARE(hex(state.movePointer({.x = 5, .y = 0xffff})), QByteArray("05000005ffff"));
    QCOMPARE(hex(state.movePointer({.x = 5, .y = 0xffff})), QByteArray());
}

void TestInputState::turnsTheWheelWithButtonsDown()
{
    InputState state;
    const Point at{.x = 1, .y = 2};
    (void)state.press(InputState::Button::Middle, at);
    QCOMPARE(hex(state.turn(InputState::Wheel::Down, 2, at)), QByteArray("051200010002"
                                                                         "050200010002")
                                                                  .repeated(2));
    QCOMPARE(hex(state.turn(InputState::Wheel::Up, 0, at)), QByteArray());
}

KELVO_TEST_MAIN(TestInputState)
#include "tst_inputstate.moc"
