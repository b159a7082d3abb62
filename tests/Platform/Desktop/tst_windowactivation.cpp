#include "Platform/Desktop/WindowActivation.h"
#include "support/TestMain.h"

#include <xcb/xcb.h>

using namespace Qt::StringLiterals;

/// Against a real X server that has no window manager but this test.
class WindowActivationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void launchTimeIsReadOrNot();
    void windowManagerIsAskedWithTheServersTime();
    void missingServerTellsNoTime();
};

void WindowActivationTest::launchTimeIsReadOrNot()
{
    QCOMPARE(WindowActivation::launchTime(u"a_TIME1-b-0_TIME4294967295"), 4294967295U);
    for (const auto &other : {u"5f2a9b1c-0001"_s, u"host_TIME"_s, u"host_TIME4294967296"_s, u"_TIME12x"_s})
        QVERIFY2(!WindowActivation::launchTime(other), qPrintable(other));
}

void WindowActivationTest::windowManagerIsAskedWithTheServersTime()
{
    const std::optional<quint32> before = WindowActivation::serverTime();
    QVERIFY(before);
    QTest::qWait(20);
    const std::optional<quint32> now = WindowActivation::serverTime();
    QVERIFY2(now && *now - *before >= 20 && *now - *before < 10000,
             "the server's clock stands still or jumps");

    xcb_connection_t *manager = xcb_connect(nullptr, nullptr);
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(manager)).data->root;
    const quint32 events = XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT;
    free(xcb_request_check(manager,
                           xcb_change_window_attributes_checked(manager, root, XCB_CW_EVENT_MASK, &events)));
    xcb_connection_t *application = xcb_connect(nullptr, nullptr);
    WindowActivation::requestFocus(application, 4711, *now);
    xcb_generic_event_t *event = nullptr;
    QVERIFY(QTest::qWaitFor([&] { return (event = xcb_poll_for_event(manager)) != nullptr; }, patience));
    QCOMPARE(event->response_type & 0x7f, XCB_CLIENT_MESSAGE);
    const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
    QCOMPARE(message->window, 4711U);
    QCOMPARE(message->data.data32[0], 1U);
    QCOMPARE(message->data.data32[1], *now);
    free(event);
    xcb_disconnect(application);
    xcb_disconnect(manager);
}

void WindowActivationTest::missingServerTellsNoTime()
{
    const QByteArray display = qgetenv("DISPLAY");
    qputenv("DISPLAY", ":4711");
    const std::optional<quint32> time = WindowActivation::serverTime();
    qputenv("DISPLAY", display);
    QVERIFY(!time);
}

KELVO_TEST_MAIN(WindowActivationTest)
#include "tst_windowactivation.moc"
