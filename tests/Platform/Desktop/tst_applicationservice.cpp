#include "Platform/Desktop/ApplicationService.h"
#include "support/TestMain.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QSignalSpy>

#include <future>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString identifier = u"org.example.Some-Application"_s;

QDBusConnection connection(const QString &name)
{
    return QDBusConnection::connectToBus(QDBusConnection::SessionBus, name);
}

} // namespace

/// Two processes, the later one played by a thread with a connection of its own.
class ApplicationServiceTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void laterOneHandsOver();
    void placeIsFreeAgainAfterwards();
    void silentFirstOneIsReported();
    void desktopAsksForAnAction();
    void withoutABusThereIsNoOther();

private:
    [[nodiscard]] static std::future<ApplicationService::Start>
    startLater(const QList<QUrl> &documents, const QString &token, std::chrono::milliseconds timeout = 10s)
    {
        return std::async(std::launch::async, [documents, token, timeout] {
            ApplicationService later(identifier, connection(u"later"_s));
            later.answerTimeout = timeout;
            return later.start(documents, token);
        });
    }
    /// What becomes of a later one, while this thread answers for the first one.
    [[nodiscard]] static ApplicationService::Start fateOfLater(const QList<QUrl> &documents = {},
                                                               const QString &token = {})
    {
        std::future<ApplicationService::Start> fate = startLater(documents, token);
        (void)QTest::qWaitFor([&] { return fate.wait_for(0s) == std::future_status::ready; }, patience);
        return fate.get();
    }

    std::unique_ptr<ApplicationService> m_first;
};

void ApplicationServiceTest::init()
{
    m_first = std::make_unique<ApplicationService>(identifier, connection(u"first"_s));
    QCOMPARE(m_first->start({QUrl(u"file:///first"_s)}, {}), ApplicationService::Start::first);
}

void ApplicationServiceTest::cleanup()
{
    m_first.reset();
    QDBusConnection::disconnectFromBus(u"later"_s);
}

void ApplicationServiceTest::laterOneHandsOver()
{
    const QSignalSpy activated(m_first.get(), &ApplicationService::activated);
    const QSignalSpy opened(m_first.get(), &ApplicationService::openRequested);
    QCOMPARE(fateOfLater({}, u"token 1"_s), ApplicationService::Start::handedOver);
    QCOMPARE(activated.value(0), QVariantList{u"token 1"_s});
    const QList<QUrl> documents = {QUrl::fromLocalFile(u"/a b%20#1,“ü”.iso"_s),
                                   QUrl::fromLocalFile(u"/x.vm"_s)};
    QCOMPARE(fateOfLater(documents, {}), ApplicationService::Start::handedOver);
    QCOMPARE(opened.value(0), QVariantList({QVariant::fromValue(documents), QString()}));
    QCOMPARE(activated.count() + opened.count(), 2);
}

void ApplicationServiceTest::placeIsFreeAgainAfterwards()
{
    m_first.reset();
    QCOMPARE(fateOfLater(), ApplicationService::Start::first);
}

void ApplicationServiceTest::silentFirstOneIsReported()
{
    // This thread, which would answer for the first one, is busy waiting.
    QCOMPARE(startLater({}, {}, 300ms).get(), ApplicationService::Start::unanswered);
}

void ApplicationServiceTest::desktopAsksForAnAction()
{
    const QSignalSpy actions(m_first.get(), &ApplicationService::actionRequested);
    QDBusMessage call = QDBusMessage::createMethodCall(identifier, u"/org/example/Some_Application"_s,
                                                       u"org.freedesktop.Application"_s, u"ActivateAction"_s);
    call << u"settings"_s << QVariantList() << QVariantMap{{u"activation-token"_s, u"t"_s}};
    const QDBusPendingCall answer = connection(u"later"_s).asyncCall(call);
    QTRY_VERIFY(answer.isFinished());
    QVERIFY2(!answer.isError(), qPrintable(answer.error().message()));
    QCOMPARE(actions.value(0), QVariantList({u"settings"_s, u"t"_s}));
}

void ApplicationServiceTest::withoutABusThereIsNoOther()
{
    const QDBusConnection none{QString()};
    ApplicationService first(identifier, none);
    ApplicationService second(identifier, none);
    QCOMPARE(first.start({}, {}), ApplicationService::Start::first);
    QCOMPARE(second.start({}, {}), ApplicationService::Start::first);
}

KELVO_TEST_MAIN(ApplicationServiceTest)
#include "tst_applicationservice.moc"
