#include "UI/Components/KeyScanCode.h"

#include "RemoteFramebuffer/ScanCode.h"

#include <QHash>
#include <QKeyEvent>

#include <linux/input-event-codes.h>

namespace {

/// X11 counts its key codes from 8, and Wayland's clients keep to that.
constexpr quint32 firstNativeCode = 8;

const QHash<int, quint32> &usKeyboard()
{
    static const QHash<int, quint32> keys = [] {
        QHash<int, quint32> result{
            {Qt::Key_Escape, KEY_ESC},
            {Qt::Key_Tab, KEY_TAB},
            {Qt::Key_Backtab, KEY_TAB},
            {Qt::Key_Backspace, KEY_BACKSPACE},
            {Qt::Key_Return, KEY_ENTER},
            {Qt::Key_Enter, KEY_KPENTER},
            {Qt::Key_Insert, KEY_INSERT},
            {Qt::Key_Delete, KEY_DELETE},
            {Qt::Key_Pause, KEY_PAUSE},
            {Qt::Key_Print, KEY_SYSRQ},
            {Qt::Key_SysReq, KEY_SYSRQ},
            {Qt::Key_Home, KEY_HOME},
            {Qt::Key_End, KEY_END},
            {Qt::Key_Left, KEY_LEFT},
            {Qt::Key_Up, KEY_UP},
            {Qt::Key_Right, KEY_RIGHT},
            {Qt::Key_Down, KEY_DOWN},
            {Qt::Key_PageUp, KEY_PAGEUP},
            {Qt::Key_PageDown, KEY_PAGEDOWN},
            {Qt::Key_Shift, KEY_LEFTSHIFT},
            {Qt::Key_Control, KEY_LEFTCTRL},
            {Qt::Key_Meta, KEY_LEFTMETA},
            {Qt::Key_Alt, KEY_LEFTALT},
            {Qt::Key_AltGr, KEY_RIGHTALT},
            {Qt::Key_CapsLock, KEY_CAPSLOCK},
            {Qt::Key_NumLock, KEY_NUMLOCK},
            {Qt::Key_Super_L, KEY_LEFTMETA},
            {Qt::Key_Super_R, KEY_RIGHTMETA},
            {Qt::Key_Menu, KEY_COMPOSE},
            {Qt::Key_ScrollLock, KEY_SCROLLLOCK},
            {Qt::Key_Space, KEY_SPACE},
            {Qt::Key_Minus, KEY_MINUS},
            {Qt::Key_Underscore, KEY_MINUS},
            {Qt::Key_Equal, KEY_EQUAL},
            {Qt::Key_Plus, KEY_EQUAL},
            {Qt::Key_BracketLeft, KEY_LEFTBRACE},
            {Qt::Key_BraceLeft, KEY_LEFTBRACE},
            {Qt::Key_BracketRight, KEY_RIGHTBRACE},
            {Qt::Key_BraceRight, KEY_RIGHTBRACE},
            {Qt::Key_Semicolon, KEY_SEMICOLON},
            {Qt::Key_Colon, KEY_SEMICOLON},
            {Qt::Key_Apostrophe, KEY_APOSTROPHE},
            {Qt::Key_QuoteDbl, KEY_APOSTROPHE},
            {Qt::Key_QuoteLeft, KEY_GRAVE},
            {Qt::Key_AsciiTilde, KEY_GRAVE},
            {Qt::Key_Backslash, KEY_BACKSLASH},
            {Qt::Key_Bar, KEY_BACKSLASH},
            {Qt::Key_Comma, KEY_COMMA},
            {Qt::Key_Less, KEY_COMMA},
            {Qt::Key_Period, KEY_DOT},
            {Qt::Key_Greater, KEY_DOT},
            {Qt::Key_Slash, KEY_SLASH},
            {Qt::Key_Question, KEY_SLASH},
        };
        struct Row
        {
            QByteArrayView keys;
            quint32 first;
        };
        for (const Row &row : {Row{"1234567890", KEY_1}, Row{"!@#$%^&*()", KEY_1}, Row{"QWERTYUIOP", KEY_Q},
                               Row{"ASDFGHJKL", KEY_A}, Row{"ZXCVBNM", KEY_Z}}) {
            for (qsizetype index = 0; index < row.keys.size(); ++index)
                result.insert(row.keys[index], row.first + static_cast<quint32>(index));
        }
        for (quint32 number = 0; number < 10; ++number)
            result.insert(Qt::Key_F1 + static_cast<int>(number), KEY_F1 + number);
        result.insert(Qt::Key_F11, KEY_F11);
        result.insert(Qt::Key_F12, KEY_F12);
        return result;
    }();
    return keys;
}

} // namespace

std::optional<std::uint8_t> scanCodeOf(const QKeyEvent &event)
{
    const quint32 native = event.nativeScanCode();
    const quint32 keyCode =
        native > firstNativeCode ? native - firstNativeCode : usKeyboard().value(event.key(), 0);
    return rfb::scanCodeOfKeyCode(keyCode);
}
