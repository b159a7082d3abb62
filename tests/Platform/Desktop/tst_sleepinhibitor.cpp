#include "Platform/Desktop/SleepInhibitor.h"
#include "support/TestMain.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QSet>

using namespace Qt::StringLiterals;

namespace {

/// A desktop's service, and the calls with which it takes and gives back a hold on the session.
struct Desktop
{
    QString service;
    QString inhibit;
    QString release; ///< empty for the portal, which gives every hold an object of its own
};

const Desktop gnome = {u"org.gnome.SessionManager"_s,
                       u"/org/gnome/SessionManager org.gnome.SessionManager.Inhibit(susu)"_s,
                       u"/org/gnome/SessionManager org.gnome.SessionManager.Uninhibit(u)"_s};
const Desktop powerManagement = {
    u"org.freedesktop.PowerManagement"_s,
    u"/org/freedesktop/PowerManagement/Inhibit org.freedesktop.PowerManagement.Inhibit.Inhibit(ss)"_s,
    u"/org/freedesktop/PowerManagement/Inhibit org.freedesktop.PowerManagement.Inhibit.UnInhibit(u)"_s};
const Desktop portal = {u"org.freedesktop.portal.Desktop"_s,
                        u"/org/freedesktop/portal/desktop org.freedesktop.portal.Inhibit.Inhibit(sua{sv})"_s,
                        {}};

/// Checks what it is asked as the real service would, and keeps who holds the session awake.
class FakeService : public QDBusVirtualObject
{
public:
    FakeService(const Desktop &desktop, const QDBusConnection &bus)
        : m_desktop(desktop)
        , m_bus(bus)
    {
        m_bus.registerVirtualObject(u"/"_s, this, QDBusConnection::SubPath);
        m_bus.registerService(m_desktop.service);
    }
    ~FakeService() override
    {
        m_bus.unregisterService(m_desktop.service);
        m_bus.unregisterObject(u"/"_s, QDBusConnection::UnregisterTree);
    }

    QSet<QString> holders; ///< numbers, or the portal's paths
    int asked = 0;
    bool refuses = false;

    [[nodiscard]] QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override
    {
        const bool isPortal = m_desktop.release.isEmpty();
        const QString call =
            u"%1 %2.%3(%4)"_s.arg(message.path(), message.interface(), message.member(), message.signature());
        if (call != m_desktop.inhibit) {
            const QString holder = isPortal ? message.path() : message.arguments().value(0).toString();
            const QString close = holder + u" org.freedesktop.portal.Request.Close()"_s;
            return call == (isPortal ? close : m_desktop.release) && holders.remove(holder);
        }
        ++asked;
        if (refuses) {
            bus.send(message.createErrorReply(QDBusError::AccessDenied, u"no"_s));
            return true;
        }
        const QString path = u"/org/freedesktop/portal/desktop/request/1_1/t%1"_s.arg(asked);
        holders.insert(isPortal ? path : QString::number(asked));
        bus.send(message.createReply(isPortal ? QVariant::fromValue(QDBusObjectPath(path))
                                              : QVariant(static_cast<uint>(asked))));
        return true;
    }

private:
    Desktop m_desktop;
    QDBusConnection m_bus;
};

} // namespace

class SleepInhibitorTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
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

void SleepInhibitorTest::everyDesktopHoldsAndLetsGo()
{
    for (const Desktop &desktop : {gnome, powerManagement, portal}) {
        auto service = std::make_unique<FakeService>(desktop, m_desktop);
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
        QTRY_COMPARE(service->holders.size(), 0);
        for (const bool active : {true, false, true})
            sleep->setActive(active);
        QTRY_COMPARE(service->holders.size(), 1);

        service.reset();
        service = std::make_unique<FakeService>(desktop, m_desktop);
        QTRY_COMPARE(service->holders.size(), 1);
        sleep->setActive(false);
        QTRY_COMPARE(service->holders.size(), 0);
    }
}

void SleepInhibitorTest::refusalGoesToTheNext()
{
    FakeService first(gnome, m_desktop);
    first.refuses = true;
    const QDBusConnection other = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"other"_s);
    const FakeService second(powerManagement, other);
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
    const FakeService service(powerManagement, m_desktop);
    QTRY_COMPARE(service.holders.size(), 1);
}

KELVO_TEST_MAIN(SleepInhibitorTest)
#include "tst_sleepinhibitor.moc"
