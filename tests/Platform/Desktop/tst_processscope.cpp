#include "Platform/Desktop/ProcessScope.h"
#include "support/TestMain.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>

using namespace Qt::StringLiterals;

namespace {

/// Notes which scopes it is asked for, and takes the call apart as the real one would.
class FakeManager : public QDBusVirtualObject
{
public:
    QStringList calls;
    QVariantMap properties;

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        const QVariantList arguments = message.arguments();
        calls.append(message.member() + u' ' + message.signature() + u' ' + arguments.value(0).toString());
        const auto list = arguments.value(2).value<QDBusArgument>();
        list.beginArray();
        while (!list.atEnd()) {
            QString name;
            QDBusVariant value;
            list.beginStructure();
            list >> name >> value;
            list.endStructure();
            properties.insert(name, value.variant());
        }
        list.endArray();
        return true;
    }
};

} // namespace

class ProcessScopeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void asksForAScopeOfTheProcesses();
};

void ProcessScopeTest::asksForAScopeOfTheProcesses()
{
    const auto ours = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"ours"_s);
    QVERIFY2(ours.isConnected(), "this test wants a session bus of its own (dbus-run-session)");
    ProcessScope::make(ours, u"org.example.App"_s, u"nobody"_s, {1});
    ProcessScope::make(QDBusConnection(QString()), u"org.example.App"_s, u"nobody"_s, {1});
    FakeManager manager;
    auto systemd = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"systemd"_s);
    QVERIFY(systemd.registerVirtualObject(u"/org/freedesktop/systemd1"_s, &manager));
    QVERIFY(systemd.registerService(u"org.freedesktop.systemd1"_s));

    ProcessScope::make(ours, u"org.example.App"_s, u"Zoë's guest"_s, {4711, 4712});
    ProcessScope::make(ours, u"org.example.App"_s, u"none"_s, {});
    QTRY_COMPARE(manager.calls,
                 QStringList(u"StartTransientUnit ssa(sv)a(sa(sv)) app-org.example.App-4711.scope"_s));
    QCOMPARE(qdbus_cast<QList<uint>>(manager.properties[u"PIDs"_s]), QList<uint>({4711, 4712}));
    QCOMPARE(manager.properties[u"Description"_s].toString(), u"Zoë's guest"_s);
    QCOMPARE(manager.properties[u"Slice"_s].toString(), u"app.slice"_s);
}

KELVO_TEST_MAIN(ProcessScopeTest)
#include "tst_processscope.moc"
