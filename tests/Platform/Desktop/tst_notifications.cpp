#include "Platform/Desktop/Notifications.h"
#include "support/TestMain.h"

#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QMap>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.freedesktop.Notifications"_s;
const QString path = u"/org/freedesktop/Notifications"_s;

/// Checks what it is asked as the real service would, and keeps what people see.
class FakeService : public QDBusVirtualObject
{
public:
    explicit FakeService(const QDBusConnection &bus)
        : m_bus(bus)
    {
        m_bus.registerVirtualObject(path, this);
        m_bus.registerService(service);
    }

    QMap<uint, QStringList> shown; ///< title and text
    QList<uint> closed;

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        const QVariantList arguments = message.arguments();
        const QString call = message.member() + u' ' + message.signature();
        if (call == "CloseNotification u"_L1) {
            closed.append(arguments[0].toUInt());
            return shown.remove(closed.constLast()) == 1;
        }
        if (call != "Notify susssasa{sv}i"_L1)
            return false;
        const uint replaced = arguments[1].toUInt();
        const uint number = replaced == 0 ? ++m_count : replaced;
        shown.insert(number, {arguments[3].toString(), arguments[4].toString()});
        return bus.send(message.createReply(number));
    }

    void tell(const QString &signal, uint number, const QVariant &value)
    {
        QDBusMessage message = QDBusMessage::createSignal(path, service, signal);
        message << number << value;
        m_bus.send(message);
    }

private:
    QDBusConnection m_bus;
    uint m_count = 0;
};

} // namespace

class NotificationsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void showsOneForEachSubject();
};

void NotificationsTest::showsOneForEachSubject()
{
    const auto ours = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"ours"_s);
    QVERIFY2(ours.isConnected(), "this test wants a session bus of its own (dbus-run-session)");
    Notifications notifications(u"org.example.App"_s, ours);
    notifications.show(u"lost"_s, u"Lost"_s, u"lost"_s); // nobody is there
    (void)ours.call(QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/"_s,
                                                   u"org.freedesktop.DBus"_s, u"GetId"_s));

    FakeService desktop(QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"desktop"_s));
    for (const QString &text : {u"1"_s, u"2"_s, u"1 < 2 & <b>3</b>"_s}) // faster than the answers come
        notifications.show(u"a"_s, u"A <1>"_s, text);
    notifications.show(u"b"_s, u"B"_s, u"other"_s);
    QTRY_COMPARE(desktop.shown.value(1), QStringList({u"A <1>"_s, u"1 &lt; 2 &amp; &lt;b&gt;3&lt;/b&gt;"_s}));
    QTRY_COMPARE(desktop.shown.size(), 2);
    notifications.withdraw(u"a"_s);
    notifications.withdraw(u"a"_s);
    notifications.show(u"c"_s, u"C"_s, u"outdated before it is there"_s);
    notifications.withdraw(u"c"_s);
    QTRY_COMPARE(desktop.closed, (QList<uint>{1, 3}));
    QCOMPARE(desktop.shown.keys(), QList<uint>{2});

    const QSignalSpy chosen(&notifications, &Notifications::chosen);
    desktop.tell(u"ActionInvoked"_s, 7, u"default"_s); // another application's
    desktop.tell(u"ActionInvoked"_s, 2, u"mute"_s);
    desktop.tell(u"ActivationToken"_s, 2, u"token"_s);
    desktop.tell(u"ActionInvoked"_s, 2, u"default"_s);
    desktop.tell(u"NotificationClosed"_s, 2, 2U);
    desktop.tell(u"ActionInvoked"_s, 2, u"default"_s);
    notifications.show(u"d"_s, u"D"_s, u"the last"_s);
    QTRY_VERIFY(desktop.shown.contains(4));
    QTRY_VERIFY(chosen.count() > 0);
    desktop.tell(u"ActionInvoked"_s, 4, u"default"_s);
    QTRY_COMPARE(chosen, QList<QVariantList>({{u"b"_s, u"token"_s}, {u"d"_s, QString()}}));
    Notifications(u"org.example.App"_s, QDBusConnection(QString())).show(u"a"_s, u"A"_s, u"no bus"_s);
}

KELVO_TEST_MAIN(NotificationsTest)
#include "tst_notifications.moc"
