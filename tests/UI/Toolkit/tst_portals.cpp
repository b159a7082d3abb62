#include "Platform/Desktop/AppearancePortal.h"
#include "UI/Toolkit/Files/FileChooserPortal.h"
#include "UI/Toolkit/Style/Appearance.h"
#include "support/TestMain.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

namespace {

const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
constexpr uint staysOpen = 3; // a response that no portal gives

} // namespace

/// What "org.freedesktop.portal.Settings" answers, and its signal.
class FakeSettings : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

public:
    explicit FakeSettings(QObject *portal)
        : QDBusAbstractAdaptor(portal)
    {}

    uint scheme = 0;

public Q_SLOTS:
    QDBusVariant Read(const QString &nameSpace, const QString &key) // NOLINT: the name on the bus
    {
        const bool isKnown = nameSpace == u"org.freedesktop.appearance" && key == u"color-scheme";
        return QDBusVariant(QVariant::fromValue(QDBusVariant(isKnown ? QVariant(scheme) : QVariant(false))));
    }

Q_SIGNALS:
    void SettingChanged(const QString &nameSpace, const QString &key, const QDBusVariant &value);
};

/// Answers a request with what the test has prepared, a moment after the call returned.
class FakeFileChooser : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.FileChooser")

public:
    explicit FakeFileChooser(QObject *portal)
        : QDBusAbstractAdaptor(portal)
    {}

    uint response = 0;
    QStringList uris;
    QString title;
    QVariantMap options;
    int panels = 0;
    bool isStuck = false;
    QDBusMessage stuckCall;

    void answerStuckCall() const
    {
        QDBusConnection(u"portal"_s)
            .send(stuckCall.createReply(QVariant::fromValue(QDBusObjectPath(u"/late"_s))));
    }

public Q_SLOTS:
    QDBusObjectPath OpenFile(const QString &, const QString &title_, const QVariantMap &options_,
                             const QDBusMessage &call) // NOLINT: the name on the bus
    {
        title = title_;
        options = options_;
        ++panels;
        if (isStuck) {
            call.setDelayedReply(true);
            stuckCall = call;
            return {};
        }
        const QString sender = call.service().mid(1).replace(u'.', u'_');
        const QString path =
            portalPath + u"/request/%1/%2"_s.arg(sender, options.value(u"handle_token"_s).toString());
        QDBusMessage answer = QDBusMessage::createTargetedSignal(
            call.service(), path, u"org.freedesktop.portal.Request"_s, u"Response"_s);
        answer.setArguments({response, QVariantMap{{u"uris"_s, uris}}});
        if (response != staysOpen)
            QTimer::singleShot(10, this, [answer] { QDBusConnection(u"portal"_s).send(answer); });
        return QDBusObjectPath(path);
    }
};

/// Counts the requests that are closed, whatever their paths.
class FakeRequests : public QDBusVirtualObject
{
    Q_OBJECT

public:
    QStringList closed;

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &message, const QDBusConnection &) override
    {
        if (message.interface() == u"org.freedesktop.portal.Request" && message.member() == u"Close")
            closed.append(message.path());
        return true;
    }
};

/// The desktop's portals, played by this process over a bus of its own.
class PortalsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void schemeIsReadAndFollowed();
    void settingsAreUnderstood();
    void filesAndFoldersArePickedOrNot();
    void missingChooserIsSaidAtOnce();
    void thereIsOnePanelAtMost();

private:
    void publish();

    QDBusConnection m_bus{QString()};
    std::unique_ptr<QObject> m_portal;
    FakeSettings *m_settings = nullptr;
    FakeFileChooser *m_fileChooser = nullptr;
};

void PortalsTest::initTestCase()
{
    m_bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"portal"_s);
    QVERIFY2(m_bus.isConnected(), "this test wants a session bus of its own (dbus-run-session)");
}

void PortalsTest::init()
{
    m_portal = std::make_unique<QObject>();
    m_settings = new FakeSettings(m_portal.get());
    m_fileChooser = new FakeFileChooser(m_portal.get());
    AppearancePortal portal;
    Appearance::shared().follow(portal);
    Q_EMIT portal.preferenceTold(AppearancePortal::Preference::none);
    Q_EMIT portal.animationTold(true);
}

void PortalsTest::cleanup()
{
    m_bus.unregisterObject(portalPath);
    m_bus.unregisterService(u"org.freedesktop.portal.Desktop"_s);
    m_portal.reset();
}

void PortalsTest::publish()
{
    QVERIFY(m_bus.registerObject(portalPath, m_portal.get(), QDBusConnection::ExportAdaptors));
    QVERIFY(m_bus.registerService(u"org.freedesktop.portal.Desktop"_s));
}

void PortalsTest::schemeIsReadAndFollowed()
{
    publish();
    m_settings->scheme = 1;
    AppearancePortal portal;
    Appearance::shared().follow(portal);
    portal.start();
    QTRY_VERIFY(Appearance::shared().isDark());
    const auto change = [this](const QString &nameSpace, const QVariant &value) {
        Q_EMIT m_settings->SettingChanged(nameSpace, u"color-scheme"_s, QDBusVariant(value));
    };
    change(u"org.freedesktop.appearance"_s, 2U);
    QTRY_VERIFY(!Appearance::shared().isDark());
    change(u"org.example"_s, 1U);
    change(u"org.freedesktop.appearance"_s, u"dark"_s);
    QTest::qWait(50);
    QVERIFY(!Appearance::shared().isDark());
    change(u"org.freedesktop.appearance"_s, 1U);
    QTRY_VERIFY(Appearance::shared().isDark());
}

/// Contrast and motion, of which the desktops tell each in its own way.
void PortalsTest::settingsAreUnderstood()
{
    Appearance &appearance = Appearance::shared();
    AppearancePortal portal;
    appearance.follow(portal);
    const QString common = u"org.freedesktop.appearance"_s;
    const QString gnome = u"org.gnome.desktop.interface"_s;
    const QString kde = u"org.kde.kdeglobals.KDE"_s;
    for (const auto &[nameSpace, key, value, isHighContrast, isAnimated] :
         {std::tuple(common, u"contrast"_s, QVariant(1U), true, true),
          {common, u"contrast"_s, QVariant(0), true, true}, // of another type
          {common, u"contrast"_s, QVariant(0U), false, true},
          {common, u"reduced-motion"_s, QVariant(1U), false, false},
          {gnome, u"enable-animations"_s, QVariant(true), false, false}, // the other one still says no
          {common, u"reduced-motion"_s, QVariant(0U), false, true},
          {gnome, u"enable-animations"_s, QVariant(false), false, false},
          {gnome, u"enable-animations"_s, QVariant(true), false, true},
          {kde, u"AnimationDurationFactor"_s, QVariant(u"0"_s), false, false},
          {kde, u"AnimationDurationFactor"_s, QVariant(u"x"_s), false, false},
          {kde, u"AnimationDurationFactor"_s, QVariant(u"0.5"_s), false, true}}) {
        portal.take(nameSpace, key, value);
        QCOMPARE(appearance.isHighContrast(), isHighContrast);
        QCOMPARE(appearance.isAnimated(), isAnimated);
    }
}

void PortalsTest::filesAndFoldersArePickedOrNot()
{
    publish();
    FileChooserPortal chooser;
    QSignalSpy picked(&chooser, &FileChooserPortal::picked);
    const QSignalSpy dismissed(&chooser, &FileChooserPortal::dismissed);
    for (const auto &[response, uris] : {std::pair(1U, QStringList{u"file:///x"_s}),
                                         {0U, {}},
                                         {0U, {u"https://example.org/x.iso"_s}},
                                         {0U, {u"file:///media/Win%2011%23.iso"_s}}}) {
        m_fileChooser->response = response;
        m_fileChooser->uris = uris;
        const qsizetype answers = picked.count() + dismissed.count();
        chooser.open(nullptr, u"Choose"_s, QUrl::fromLocalFile(u"/media"_s), false, {u"*.iso"_s});
        QTRY_COMPARE(picked.count() + dismissed.count(), answers + 1);
    }
    QCOMPARE(dismissed.count(), 3);
    QCOMPARE(picked.first().first().toUrl(), QUrl::fromLocalFile(u"/media/Win 11#.iso"_s));
    QCOMPARE(m_fileChooser->title, u"Choose"_s);
    QCOMPARE(m_fileChooser->options.value(u"current_folder"_s).toByteArray(), QByteArray("/media\0", 7));
    QVERIFY(m_fileChooser->options.contains(u"filters"_s));

    chooser.open(nullptr, u"Choose"_s, {}, true, {});
    QTRY_COMPARE(picked.count(), 2);
    QCOMPARE(m_fileChooser->options.value(u"directory"_s).toBool(), true);
    QVERIFY(!m_fileChooser->options.contains(u"filters"_s));
}

void PortalsTest::missingChooserIsSaidAtOnce()
{
    FileChooserPortal chooser;
    const QSignalSpy unavailable(&chooser, &FileChooserPortal::unavailable);
    chooser.open(nullptr, u"Choose"_s, {}, false, {});
    // A call that nobody answers takes 25 s.
    QTRY_COMPARE_WITH_TIMEOUT(unavailable.count(), 1, 20'000);
}

void PortalsTest::thereIsOnePanelAtMost()
{
    publish();
    FakeRequests requests;
    QVERIFY(m_bus.registerVirtualObject(portalPath + u"/request"_s, &requests, QDBusConnection::SubPath));
    const auto ask = [](FileChooserPortal &chooser) {
        chooser.open(nullptr, u"Choose"_s, {}, false, {});
    };

    m_fileChooser->response = staysOpen;
    auto chooser = std::make_unique<FileChooserPortal>();
    ask(*chooser);
    ask(*chooser);
    QTRY_COMPARE(m_fileChooser->panels, 1);
    QTest::qWait(50); // until the call's reply is here
    chooser.reset();
    QTRY_COMPARE(requests.closed.count(), 1);
    QCOMPARE(m_fileChooser->panels, 1);

    // Another panel is open when a slow desktop's comes at last.
    m_fileChooser->isStuck = true;
    chooser = std::make_unique<FileChooserPortal>();
    const QSignalSpy unavailable(chooser.get(), &FileChooserPortal::unavailable);
    ask(*chooser);
    QTRY_COMPARE_WITH_TIMEOUT(unavailable.count(), 1, 20'000);
    m_fileChooser->answerStuckCall();
    QTRY_COMPARE(requests.closed.count(), 2);
    QVERIFY(requests.closed.last() != requests.closed.first());
    m_bus.unregisterObject(portalPath + u"/request"_s);
}

KELVO_GUI_TEST_MAIN(PortalsTest)
#include "tst_portals.moc"
