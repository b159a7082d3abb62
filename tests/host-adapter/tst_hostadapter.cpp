#include "support/TestMain.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;

namespace {

const QString adapterToStandIn = QStringLiteral(ADAPTER_TO_STAND_IN);
const QString adapterToNothing = QStringLiteral(ADAPTER_TO_NOTHING);
const QString placeOfNothing = QStringLiteral(ADAPTER_TO_NOTHING_EMULATOR);

/// A child that is ended with the test, however that ends.
class Child : public QProcess
{
public:
    ~Child() override
    {
        kill();
        waitForFinished();
    }
};

} // namespace

class HostAdapterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void becomesTheEmulator();
    void asksTheEmulatorForTheDevice_data();
    void asksTheEmulatorForTheDevice();
    void leavesTheDisplayToAGuestWithItsDriver();
    void saysWhatToInstall();
};

void HostAdapterTest::becomesTheEmulator()
{
    Child child;
    child.start(adapterToStandIn, {u"-accel"_s, u"hvf"_s, u"-serial"_s, QString()});
    QVERIFY(child.waitForStarted(patience));
    const QByteArray processId = QByteArray::number(child.processId());
    QVERIFY(child.waitForFinished(patience));
    QCOMPARE(child.exitCode(), 42);
    QCOMPARE(child.readAllStandardOutput(), adapterToStandIn.toUtf8() +
                                                "\n-rtc\nbase=localtime\n-accel\ntcg\n-serial\n\n" +
                                                processId + '\n');
    const QByteArray note = child.readAllStandardError();
    QVERIFY2(note.startsWith("kelvo-host-adapter: note: the guest is emulated, because ") &&
                 note.count('\n') == 1,
             note.constData());
}

void HostAdapterTest::asksTheEmulatorForTheDevice_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QByteArray>("device");
    const QByteArray substitute = "tpm-tis-device";
    QTest::newRow("known") << u"tpm-crb-device options:\n  tpmdev=<str>"_s << QByteArray("tpm-crb-device");
    QTest::newRow("unknown") << u"Device 'tpm-crb-device' not found"_s << substitute;
    QTest::newRow("endless question") << u"hang"_s << substitute;
    QTest::newRow("endless answer") << u"flood"_s << substitute;
}

void HostAdapterTest::asksTheEmulatorForTheDevice()
{
    QFETCH(const QString, answer);
    Child child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"STAND_IN_ANSWER"_s, answer);
    child.setProcessEnvironment(environment);
    child.start(adapterToStandIn, {u"-device"_s, u"tpm-crb-device"_s, u"-accel"_s, u"hvf"_s});
    QVERIFY(child.waitForFinished(patience));
    QTEST(child.readAllStandardOutput().split('\n').value(4), "device");
}

void HostAdapterTest::leavesTheDisplayToAGuestWithItsDriver()
{
    const QTemporaryDir bundle;
    QFile mark(bundle.filePath(u"virtio-display"_s));
    for (const QByteArray device : {"ramfb", "virtio-gpu-pci"}) {
        Child child;
        child.setWorkingDirectory(bundle.path());
        child.start(adapterToStandIn, {u"-device"_s, u"virtio-gpu-pci"_s, u"-accel"_s, u"hvf"_s});
        QVERIFY(child.waitForFinished(patience));
        QCOMPARE(child.readAllStandardOutput().split('\n').value(4), device);
        QVERIFY(mark.open(QIODevice::WriteOnly));
        mark.close();
    }
}

void HostAdapterTest::saysWhatToInstall()
{
    QFile::remove(placeOfNothing);
    // The link that a second round finds there would make the adapter run itself without end.
    for (const bool findsItself : {false, true}) {
        QVERIFY(!findsItself || QFile::link(adapterToNothing, placeOfNothing));
        Child child;
        child.start(adapterToNothing, {u"-version"_s});
        QVERIFY(child.waitForFinished(patience));
        QCOMPARE(child.exitCode(), 127);
        QVERIFY(child.readAllStandardError().contains("package qemu-system-arm"));
        QCOMPARE(child.readAllStandardOutput(), QByteArray());
    }
}

KELVO_TEST_MAIN(HostAdapterTest)
#include "tst_hostadapter.moc"
