#include "support/TestMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocalSocket>
#include <QProcess>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

namespace {

constexpr int timeoutMs = 30000;

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

QByteArray outputOf(const QString &program, const QStringList &arguments, const QString &answer = {})
{
    Child child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (!answer.isNull())
        environment.insert(QStringLiteral("STAND_IN_ANSWER"), answer);
    child.setProcessEnvironment(environment);
    child.start(program, arguments);
    child.waitForFinished(timeoutMs);
    return child.readAllStandardOutput();
}

QStringList words(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// The number of a VNC display whose port is free at the moment.
int freeDisplay()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort() - 5900;
}

/// What QEMU returns to a QMP command; undefined when it refuses or does not answer.
QJsonValue answerTo(QLocalSocket &control, const char *command)
{
    control.write(QJsonDocument(QJsonObject{{QStringLiteral("execute"), QLatin1String(command)}})
                      .toJson(QJsonDocument::Compact));
    control.flush();
    QByteArray line;
    while (line.isEmpty() || line.contains("\"event\"") || line.contains("\"QMP\"")) {
        while (!control.canReadLine()) {
            if (!control.waitForReadyRead(timeoutMs))
                return QJsonValue::Undefined;
        }
        line = control.readLine();
    }
    return QJsonDocument::fromJson(line).object().value(QLatin1String("return"));
}

bool makeFile(const QString &path, qint64 bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.resize(bytes);
}

} // namespace

class HostAdapterTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void becomesTheEmulator();
    void asksTheEmulatorForTheDevice_data();
    void asksTheEmulatorForTheDevice();
    void saysWhatToInstall();
    void neverRunsItself();
    void passesQuestionsToTheEmulator();
    void runsTheWholeListOnTheEmulator();
};

void HostAdapterTest::becomesTheEmulator()
{
    Child child;
    child.start(QStringLiteral(ADAPTER_TO_STAND_IN),
                {QStringLiteral("-accel"), QStringLiteral("hvf"), QString()});
    QVERIFY(child.waitForStarted(timeoutMs));
    const QByteArray processId = QByteArray::number(child.processId());
    QVERIFY(child.waitForFinished(timeoutMs));
    QCOMPARE(child.exitCode(), 42);
    QCOMPARE(child.readAllStandardOutput(),
             QByteArrayLiteral(ADAPTER_TO_STAND_IN "\n-accel\ntcg\n\n") + processId + '\n');
    QCOMPARE(child.readAllStandardError(), QByteArray());
}

void HostAdapterTest::asksTheEmulatorForTheDevice_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QByteArray>("device");
    QTest::newRow("known") << QStringLiteral("tpm-crb-device options:\n  tpmdev=<str>")
                           << QByteArray("tpm-crb-device");
    QTest::newRow("unknown") << QStringLiteral("Device 'tpm-crb-device' not found")
                             << QByteArray("tpm-tis-device");
    QTest::newRow("no answer") << QString() << QByteArray("tpm-tis-device");
    QTest::newRow("endless question") << QStringLiteral("hang") << QByteArray("tpm-tis-device");
    QTest::newRow("endless answer") << QStringLiteral("flood") << QByteArray("tpm-tis-device");
}

void HostAdapterTest::asksTheEmulatorForTheDevice()
{
    QFETCH(QString, answer);
    QFETCH(QByteArray, device);
    const QByteArray output = outputOf(QStringLiteral(ADAPTER_TO_STAND_IN),
                                       {QStringLiteral("-device"), QStringLiteral("tpm-crb-device")}, answer);
    QCOMPARE(output.split('\n').value(2), device);
}

void HostAdapterTest::saysWhatToInstall()
{
    Child child;
    child.start(QStringLiteral(ADAPTER_TO_NOTHING), {QStringLiteral("-version")});
    QVERIFY(child.waitForFinished(timeoutMs));
    QCOMPARE(child.exitCode(), 127);
    QVERIFY(child.readAllStandardError().contains("package qemu-system-arm"));
    QCOMPARE(child.readAllStandardOutput(), QByteArray());
}

void HostAdapterTest::neverRunsItself()
{
    // A link to the adapter at the place where it looks for the emulator would make it exec itself without
    // end.
    QFile::remove(QStringLiteral(ADAPTER_TO_NOTHING_EMULATOR));
    QVERIFY(QFile::link(QStringLiteral(ADAPTER_TO_NOTHING), QStringLiteral(ADAPTER_TO_NOTHING_EMULATOR)));
    Child child;
    child.start(QStringLiteral(ADAPTER_TO_NOTHING), {QStringLiteral("-version")});
    const bool isFinished = child.waitForFinished(timeoutMs);
    QVERIFY(QFile::remove(QStringLiteral(ADAPTER_TO_NOTHING_EMULATOR)));
    QVERIFY(isFinished);
    QCOMPARE(child.exitCode(), 127);
}

void HostAdapterTest::passesQuestionsToTheEmulator()
{
    for (const QStringList &question : {QStringList{QStringLiteral("-version")},
                                        QStringList{QStringLiteral("-cpu"), QStringLiteral("help")}}) {
        const QByteArray expected = outputOf(QStringLiteral(EMULATOR), question);
        QVERIFY(!expected.isEmpty());
        QCOMPARE(outputOf(QStringLiteral(ADAPTER), question), expected);
    }
}

void HostAdapterTest::runsTheWholeListOnTheEmulator()
{
    QTemporaryDir folder;
    QVERIFY(folder.isValid());
    constexpr qint64 mebibyte = 1048576;
    QVERIFY(makeFile(folder.filePath(QStringLiteral("uefi_vars.fd")), 64 * mebibyte));
    QVERIFY(makeFile(folder.filePath(QStringLiteral("disk.img")), 64 * mebibyte));
    QVERIFY(makeFile(folder.filePath(QStringLiteral("installer.iso")), mebibyte));
    QVERIFY(makeFile(folder.filePath(QStringLiteral("drivers.iso")), mebibyte));
    QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("tpm")));

    Child tpm;
    tpm.setWorkingDirectory(folder.path());
    tpm.start(QStringLiteral("/usr/bin/swtpm"),
              words("socket --tpm2 --tpmstate dir=tpm --ctrl type=unixio,path=tpm/swtpm.sock"));
    QTRY_VERIFY_WITH_TIMEOUT(QFileInfo::exists(folder.filePath(QStringLiteral("tpm/swtpm.sock"))), timeoutMs);

    Child machine;
    machine.setWorkingDirectory(folder.path());
    machine.start(
        QStringLiteral(ADAPTER),
        QStringList{QStringLiteral("-name"), QStringLiteral("Windows 11")} +
            words("-machine virt,highmem=on -cpu host -accel hvf -smp 2 -m 512"
                  " -drive if=pflash,format=raw,file=" FIRMWARE ",readonly=on"
                  " -drive if=pflash,format=raw,file=uefi_vars.fd"
                  " -chardev socket,id=chrtpm,path=tpm/swtpm.sock"
                  " -tpmdev emulator,id=tpm0,chardev=chrtpm -device tpm-crb-device,tpmdev=tpm0"
                  " -device qemu-xhci -device usb-kbd -device usb-tablet"
                  " -drive file=disk.img,format=raw,if=none,id=hd0"
                  " -device virtio-blk-pci,drive=hd0,bootindex=2"
                  " -netdev user,id=net0 -device virtio-net-pci,netdev=net0 -device virtio-gpu-pci") +
            QStringList{QStringLiteral("-display"),
                        QStringLiteral("vnc=127.0.0.1:%1,password=off").arg(freeDisplay())} +
            words("-qmp unix:qmp.sock,server,nowait -serial file:serial.log"
                  " -drive file=installer.iso,format=raw,media=cdrom,if=none,id=cd0"
                  " -device usb-storage,drive=cd0,bootindex=1"
                  " -drive file=drivers.iso,format=raw,media=cdrom,if=none,id=virtio"
                  " -device usb-storage,drive=virtio"));
    QVERIFY(machine.waitForStarted(timeoutMs));
    const QString controlPath = folder.filePath(QStringLiteral("qmp.sock"));
    QTRY_VERIFY2_WITH_TIMEOUT(QFileInfo::exists(controlPath), machine.readAllStandardError().constData(),
                              timeoutMs);

    QLocalSocket control;
    control.connectToServer(controlPath);
    QVERIFY(control.waitForConnected(timeoutMs));
    QVERIFY(answerTo(control, "qmp_capabilities").isObject());
    QCOMPARE(answerTo(control, "query-status")[QLatin1String("status")].toString(),
             QStringLiteral("running"));
    QCOMPARE(answerTo(control, "query-cpus-fast").toArray().size(), 2);
    QVERIFY(answerTo(control, "query-tpm")[0][QLatin1String("model")].toString().startsWith(
        QLatin1String("tpm-")));
    QCOMPARE(QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(machine.processId())),
             QStringLiteral(EMULATOR));

    machine.terminate();
    QVERIFY(machine.waitForFinished(timeoutMs));
    QCOMPARE(machine.exitStatus(), QProcess::NormalExit);
    QCOMPARE(machine.exitCode(), 0);
    QVERIFY(tpm.waitForFinished(timeoutMs));
}

KELVO_TEST_MAIN(HostAdapterTest)
#include "tst_hostadapter.moc"
