#include "Platform/Desktop/SleepInhibitor.h"
#include "support/TestMain.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QSet>

using namespace Qt::StringLiterals;

namespace {

enum class Manner
{
    sessionManager,
    powerManagement,
    portal
};

QString serviceOf(Manner manner)
{
    switch (manner) {
    case Manner::sessionManager:
        return u"org.gnome.SessionManager"_s;
    case Manner::powerManagement:
        return u"org.freedesktop.PowerManagement"_s;
    case Manner::portal:
        return u"org.freedesktop.portal.Desktop"_s;
    }
    Q_UNREACHABLE();
}

} // namespace

/// A desktop's service: checks what it is asked as the real one would, and keeps who holds the session awake.
class FakeService : public QDBusVirtualObject
{
public:
    FakeService(Manner manner, const QDBusConnection &bus)
        : m_manner(manner)
        , m_bus(bus)
    {
        m_bus.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath);
        m_bus.registerService(serviceOf(manner));
    }
    ~FakeService() override
    {
        m_bus.unregisterService(serviceOf(m_manner));
        m_bus.unregisterObject(u"/"_s, QDBusConnection::UnregisterTree);
    }

    QSet<QString> holders;
    int asked = 0;
    bool refuses = false;

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        const QString call = message.path() + u' ' + message.interface() + u'.' + message.member() + u'(' +
                             message.signature() + u')';
        if (call == inhibitCall()) {
            ++asked;
            if (refuses) {
                bus.send(message.createErrorReply(QDBusError::AccessDenied, u"no"_s));
                return true;
            }
            const QString path = u"/org/freedesktop/portal/desktop/request/1_1/t%1"_s.arg(asked);
            holders.insert(m_manner == Manner::portal ? path : QString::number(asked));
            bus.send(message.createReply(m_manner == Manner::portal
                                             ? QVariant::fromValue(QDBusObjectPath(path))
                                             : QVariant(uint(asked))));
            return true;
        }
        const QString holder = m_manner == Manner::portal &&
                                       message.interface() == u"org.freedesktop.portal.Request" &&
                                       message.member() == u"Close"
                                   ? message.path()
                                   : message.arguments().value(0).toString();
        const bool isRelease = m_manner == Manner::portal || call == releaseCall();
        return isRelease && holders.remove(holder);
    }

private:
    [[nodiscard]] QString inhibitCall() const
    {
        switch (m_manner) {
        case Manner::sessionManager:
            return u"/org/gnome/SessionManager org.gnome.SessionManager.Inhibit(susu)"_s;
        case Manner::powerManagement:
            return u"/org/freedesktop/PowerManagement/Inhibit org.freedesktop.PowerManagement.Inhibit.Inhibit(ss)"_s;
        case Manner::portal:
            return u"/org/freedesktop/portal/desktop org.freedesktop.portal.Inhibit.Inhibit(sua{sv})"_s;
        }
        Q_UNREACHABLE();
    }
    [[nodiscard]] QString releaseCall() const
    {
        return m_manner == Manner::sessionManager
                   ? u"/org/gnome/SessionManager org.gnome.SessionManager.Uninhibit(u)"_s
                   : u"/org/freedesktop/PowerManagement/Inhibit org.freedesktop.PowerManagement.Inhibit.UnInhibit(u)"_s;
    }

    Manner m_manner;
    QDBusConnection m_bus;
};

class SleepInhibitorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyDesktopHoldsAndLetsGo_data();
    void everyDesktopHoldsAndLetsGo();
    void refusalGoesToTheNext();
    void nothingIsThereUntilItIs();

private:
    [[nodiscard]] std::unique_ptr<SleepInhibitor> inhibitor() const
    {
        return std::make_unique<SleepInhibitor>(u"org.example.App"_s, u"because"_s, m_ours);
    }

    QDBusConnection m_ours{QString()};
    QDBusConnection m_desktop{QString()};
};

void SleepInhibitorTest::initTestCase()
{
    m_ours = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"ours"_s);
    m_desktop = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"desktop"_s);
    QVERIFY2(m_ours.isConnected(), "this test wants a session bus of its own (dbus-run-session)");
}

void SleepInhibitorTest::everyDesktopHoldsAndLetsGo_data()
{
    QTest::addColumn<int>("manner");
    for (const Manner manner : {Manner::sessionManager, Manner::powerManagement, Manner::portal})
        QTest::newRow(qPrintable(serviceOf(manner))) << int(manner);
}

void SleepInhibitorTest::everyDesktopHoldsAndLetsGo()
{
    QFETCH(const int, manner);
    auto service = std::make_unique<FakeService>(Manner(manner), m_desktop);
    const std::unique_ptr<SleepInhibitor> sleep = inhibitor();
    sleep->setActive(true);
    sleep->setActive(true);
    QTRY_COMPARE(service->holders.size(), 1);
    sleep->setActive(false);
    QTRY_COMPARE(service->holders.size(), 0);

    // Faster than the answers come.
    for (const bool active : {true, false, true, false})
        sleep->setActive(active);
    QTest::qWait(50);
    QCOMPARE(service->holders.size(), 0);
    for (const bool active : {true, false, true})
        sleep->setActive(active);
    QTRY_COMPARE(service->holders.size(), 1);

    service.reset();
    service = std::make_unique<FakeService>(Manner(manner), m_desktop);
    QTRY_COMPARE(service->holders.size(), 1);
    sleep->setActive(false);
    QTRY_COMPARE(service->holders.size(), 0);
}

void SleepInhibitorTest::refusalGoesToTheNext()
{
    FakeService first(Manner::sessionManager, m_desktop);
    first.refuses = true;
    const QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"other"_s);
    const FakeService second(Manner::powerManagement, other);
    const std::unique_ptr<SleepInhibitor> sleep = inhibitor();
    sleep->setActive(true);
    QTRY_COMPARE(second.holders.size(), 1);
    QCOMPARE(first.asked, 1);
}

void SleepInhibitorTest::nothingIsThereUntilItIs()
{
    SleepInhibitor(u"org.example.App"_s, u"because"_s, QDBusConnection(QString())).setActive(true);
    const std::unique_ptr<SleepInhibitor> sleep = inhibitor();
    sleep->setActive(true);
    QTest::qWait(50);
    const FakeService service(Manner::powerManagement, m_desktop);
    QTRY_COMPARE(service.holders.size(), 1);
}

KELVO_TEST_MAIN(SleepInhibitorTest)
#include "tst_sleepinhibitor.moc"
